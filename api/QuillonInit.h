// SPDX-License-Identifier: MIT

#pragma once

#include "QuillonExport.h"

#include <QString>

/// Where the module keeps its settings, and the loader of its style sheets.
///
/// Thread:    the host's GUI thread; nothing locks the value.
/// Ownership: none, all members are static.
class QUILLON_EXPORT QuillonInit
{
public:
    /// The directory of the product settings file "Corvina.ini" and of the resume-state file
    /// "CvBreakResumeDownLoad.ini", without a trailing slash. Empty when the module is loaded.
    ///
    /// Set it before the first `UpdateMain` is constructed. A dialog copies the value when it is
    /// constructed, for its settings, its downloads and its event reports; a later change does not
    /// reach it.
    static void SetConfigFileDir(QString directory);
    static QString GetConfigFileDir();

    /// The whole text of the style sheet at @p path, a file or a resource. The caller chooses the
    /// path for the screen's pixel ratio. A file that cannot be opened gives an empty string, with
    /// which the dialog has the platform's own look. The text is UTF-8 when it begins with a
    /// byte-order mark, otherwise in the system's own encoding.
    static QString gGetStyleSheet(QString path);
};
