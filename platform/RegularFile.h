// SPDX-License-Identifier: MIT

#pragma once

class QFile;

/// Opens @p file, whose name is set, for reading and without a buffer, if that is the name of a file: the
/// opening of a pipe, which another account may have put there, could wait for ever.
/// @return false for anything else, and for a file that cannot be read
bool gOpenRegularFile(QFile *file);
