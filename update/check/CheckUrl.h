// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QUrl>

/// The address of an update check: the values are inserted as they are, without percent-encoding,
/// right behind the first "pid=", "version=" and "email=" of the template, in this order. The
/// result is parsed in tolerant mode.
QUrl gBuildCheckUrl(const QString &urlTemplate, const QString &pid, const QString &version,
                    const QString &email);
