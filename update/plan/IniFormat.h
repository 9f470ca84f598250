// SPDX-License-Identifier: MIT

#pragma once

#include <QSettings>

/// The ini format, as the settings class reads and writes it, for values that are numbers and short
/// texts, with one difference: a file is left as it was when the disk cannot take the new one.
///
/// With its own ini format the settings class replaces the file with an empty one, or with the first
/// part of the new one, when the disk is full or fails at the end of the write, without an error.
///
/// Thread: any.
QSettings::Format gIniFormat();
