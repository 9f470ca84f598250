// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The release notes in the file at @p path as the HTML fragment of a manifest.
///
/// HTML (.html, .htm) is taken as it is. Of Markdown (.md, .markdown) a single bulleted list becomes
/// its `li` items, which the version page shows as its own numbered list; anything else becomes the
/// HTML that CommonMark gives for it. HTML inside Markdown is shown as text. Line ends become "\n",
/// as every XML parser makes them.
///
/// @throws PublishError when the file cannot be read, is empty, is not UTF-8, or has characters that
/// XML does not allow.
QString gReadNotes(const QString &path);
