// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Whether the library at @p path is loaded into this process.
bool gIsInProcess(const QString &path);
