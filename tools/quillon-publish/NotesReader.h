// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// The release notes in the file at @p path as the HTML fragment of a manifest.
///
/// HTML (.html, .htm) is taken as it is. Markdown (.md, .markdown) becomes the HTML that CommonMark
/// gives for it; of notes that are one bulleted list only the `li` items are kept, because the
/// version page shows them as a numbered list. HTML inside Markdown is shown as text. Line ends
/// become "\n", as XML parsers read them.
///
/// @throws PublishError when the file cannot be read, is empty, is not UTF-8, or has characters
/// that XML does not allow.
QString gReadNotes(const QString &path);
