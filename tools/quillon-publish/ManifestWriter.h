// SPDX-License-Identifier: MIT

#pragma once

#include "tools/quillon-publish/SignedElement.h"

#include <QByteArray>
#include <QString>

/// The values of one manifest. Texts are written as they are.
struct Manifest {
    /// The address of the full installer. When it is empty, the manifest offers no update.
    QString exeUrl;
    QString md5;
    QString version;
    QString notes;
    /// The MD5 of the installer that the patch applies to.
    QString oldMd5;
    /// The address of the patch. When it is empty, the manifest has no patch.
    QString patchUrl;
    /// In bytes.
    qint64 patchSize = 0;
    bool autoNotify = false;
    /// The version whose clients get it; empty: all others.
    QString forVersion;
    /// Only of a manifest that is to be signed, as is what follows.
    std::optional<SigningTerm> term;
    std::optional<SignedFile> fullFile;
    std::optional<SignedFile> patchFile;
};

/// The document for @p manifest in UTF-8. The clients' parser, `VersionInfo`, has read it back to
/// check it.
///
/// @throws PublishError when the values that the parser reads differ from @p manifest, or when the
/// document is larger than what clients read: the bytes that arrive first.
QByteArray gWriteManifest(const Manifest &manifest);

/// Compares what clients with and without keys read out of @p document, which was signed, with @p
/// manifest.
/// @param values what a client with keys reads
/// @throws PublishError when that differs
void gCheckSignedManifest(const QByteArray &document, const ManifestValues &values,
                          const Manifest &manifest);

/// @throws PublishError when a document of @p bytes, with its signature, is larger than what
/// clients read
void gRefuseManifestSize(int bytes);
