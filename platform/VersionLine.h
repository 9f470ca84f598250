// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class QIODevice;

/// The value of a line "FileVersion=..." within the first 4096 bytes of a script or other file that
/// is no PE file, optionally behind "#" or "//". Blanks around the value are removed. Empty when
/// there is no such line. @p device is random-access and open for reading.
QString gVersionLine(QIODevice &device);
