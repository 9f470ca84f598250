// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>

/// @p bytes as a gzip file, as a server compresses a body (RFC 1952).
QByteArray gGzipped(const QByteArray &bytes);
