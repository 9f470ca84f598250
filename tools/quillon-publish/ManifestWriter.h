// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// What one manifest says. The texts go into it as they are.
struct Manifest {
    /// The full installer. Without an address the manifest offers nothing.
    QString exeUrl;
    QString md5;
    QString version;
    QString notes;
    /// The patch. Without an address there is none.
    QString oldMd5;
    QString patchUrl;
    qint64 patchSize = 0;
    bool autoNotify = false;
};

/// The document for @p manifest in UTF-8, as the clients' own parser has read it back.
///
/// @throws PublishError when what the parser reads differs from what was to be said, or when the
/// document is too large for clients, which read no more than what arrives first.
QByteArray gWriteManifest(const Manifest &manifest);
