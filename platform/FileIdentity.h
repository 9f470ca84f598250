// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// What tells the file at @p path from every other file, also from one that has taken its name since:
/// the file's number, its volume's, and the time at which it was made where the number is not enough. It
/// stays the same while the file is written, and usually when it is renamed. Empty when there is no
/// such file.
///
/// Thread: any.
QString gFileIdentity(const QString &path);
