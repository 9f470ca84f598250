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
    /// "CvBreakResumeDownLoad.ini", without a trailing slash. Empty when the module is loaded; set
    /// it before the first `UpdateMain` is constructed, a later change does not reach that dialog.
    static void SetConfigFileDir(QString directory);
    static QString GetConfigFileDir();

    /// The whole text of the style sheet at @p path (a file or a resource path that was already
    /// chosen for the screen's pixel ratio). A file that cannot be opened gives an empty string,
    /// which leaves the dialog in the platform's own look.
    static QString gGetStyleSheet(QString path);
};
