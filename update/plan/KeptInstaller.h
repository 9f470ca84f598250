// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class EventSink;

/// Searches @p folder for the installer of @p currentVersion that an incremental package applies
/// to: a file, hidden or not, whose version resource names that version and whose MD5 is
/// @p expectedMd5 (exactly, lower-case; an empty one matches nothing). Every file of the right
/// version with another MD5 is logged and reported to @p events.
/// @return its absolute path; empty when there is none.
QString gFindKeptInstaller(const QString &folder, const QString &currentVersion,
                           const QString &expectedMd5, EventSink &events);
