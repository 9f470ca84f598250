// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Texts for the user that several classes use, and their translation. The contexts are those of the
/// classes that have always shown them: hosts' translations have the texts under these names.

/// What the signal `Error` of a download carries, in the context `DownloadMgr`.
namespace FailureText
{
inline constexpr char downloadFailed[] =
    QT_TRANSLATE_NOOP("DownloadMgr", "Failed to download the update.");
inline constexpr char fileOpenFailed[] = QT_TRANSLATE_NOOP("DownloadMgr", "File open error!");
} // namespace FailureText

/// @p text in the context `LiveUpdateMgr`.
QString gTranslateForUpdate(const char *text);
/// @p text in the context `DownloadMgr`.
QString gTranslateForDownload(const char *text);
