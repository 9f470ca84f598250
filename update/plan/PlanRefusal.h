// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

class ResumeState;
struct DownloadTarget;

/// Why a package is not downloaded, although a manifest offers it. The log says it.
///
/// Thread: GUI thread.

/// Before anything is asked of the server: the package's file cannot have its name, or it has to be signed
/// and is not.
bool gIsRefused(const DownloadTarget &target, bool hasToBeSigned);

/// The server names another size than the signed manifest. A @p total of 0 is an answer that failed, and is
/// not refused here.
/// @param state remembers a patch that is refused: the next "Update Now" takes the full package
bool gIsSizeRefused(const DownloadTarget &target, qint64 total, ResumeState &state);
