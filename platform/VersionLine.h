// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class QIODevice;

/// The value of a line "FileVersion=..." within the first 4096 bytes of a script or other file that
/// is no PE file, optionally behind "#" or "//", without blanks around it; empty when there is none.
/// @p device is random-access and open for reading.
QString gVersionLine(QIODevice &device);
