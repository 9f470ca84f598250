// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// The whole content of a file; empty when it cannot be read.
QByteArray gReadFile(const QString &path);
/// Creates or replaces a file and the folders above it. @return whether it holds @p bytes
bool gWriteFile(const QString &path, const QByteArray &bytes);
/// As `gWriteFile`, for a file that the test cannot do without: on failure the whole test ends.
/// @return @p path
QString gPutFile(const QString &path, const QByteArray &bytes);
