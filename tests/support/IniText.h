// SPDX-License-Identifier: MIT

#pragma once

#include <QMap>
#include <QString>

/// What really stands in the settings file at @p path, as "group/key" and text, read without the
/// settings class, whose objects share what is not on disk yet.
QMap<QString, QString> gReadIniText(const QString &path);
