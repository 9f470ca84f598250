// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The rules that a system has for the names of files.
enum class FileNameRules {
    /// Any bytes but the slash and NUL; case matters.
    Unix,
    /// Devices have names, some characters have a meaning, blanks and dots at the end are dropped, and
    /// case does not matter.
    Windows
};

/// The rules of this system.
FileNameRules gFileNameRules();

/// Whether a file can be created under @p name, without its folder, and has exactly this name then:
/// no part of it names a folder, a device or a stream, or is dropped.
bool gIsFileName(const QString &name, FileNameRules rules = gFileNameRules());

/// Whether @p one and @p other, without their folders, name the same file of a folder.
bool gIsSameFileName(const QString &one, const QString &other,
                     FileNameRules rules = gFileNameRules());

/// The name under which a program is started that somebody else may have named: Windows decides by the end
/// of a name whether it runs the file itself or hands it to another program, a batch file for instance.
/// @return @p name, with ".exe" at its end where names have a meaning
QString gProgramName(const QString &name, FileNameRules rules = gFileNameRules());
