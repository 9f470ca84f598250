// SPDX-License-Identifier: MIT

#pragma once

#include <QSettings>

/// The ini format, as the settings class reads and writes it, for values that are numbers and short
/// texts, with one difference: a file is left as it was when the disk cannot take the new one.
///
/// With its own ini format the settings class puts an empty file, or the first part of one, in the
/// place of the old one when the disk is full or fails at the end of the write, and tells nobody.
///
/// Thread: any.
QSettings::Format gStateFormat();
