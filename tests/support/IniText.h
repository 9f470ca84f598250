// SPDX-License-Identifier: MIT

#pragma once

#include <QMap>
#include <QString>

/// The values in the settings file at @p path, as "group/key" and text. The file is read without
/// `QSettings`, whose objects also give values that are not on disk yet.
QMap<QString, QString> gReadIniText(const QString &path);
