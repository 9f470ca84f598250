// SPDX-License-Identifier: MIT

#pragma once

class QUrl;

/// Whether a package can be asked for at @p url: it names a web server, and not a file of this
/// machine. Redirects are followed to such addresses only.
bool gIsServerAddress(const QUrl &url);
