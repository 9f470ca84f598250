// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Whether the disk takes another settings file like the one at @p path, and something more. To be asked
/// before settings are changed: QSettings does not check whether its buffer reached the disk. On a full
/// one it replaces the file, in which the host keeps other settings as well, with an empty one.
///
/// The folder is made where there is none.
///
/// Thread: any.
bool gHasRoomForSettings(const QString &path);
