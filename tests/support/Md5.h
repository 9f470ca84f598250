// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// The MD5 of @p bytes in lower-case hexadecimal digits, as manifests write it.
QString gMd5(const QByteArray &bytes);
