// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>

/// The manifest of a signed site, each value of which a test can spoil. What is not set is left empty, as
/// for a manifest without that package.
struct SignedManifest {
    QString exeUrl;
    /// The bytes of the full package; its digest and its size are written.
    QByteArray full;
    QString patchUrl;
    QByteArray patch;
    /// The bytes of the installer that the patch makes.
    QByteArray result;
    /// The bytes of the kept installer that it applies to.
    QByteArray kept;
    QByteArray serial = "5";
    QByteArray expires;
    QByteArray forVersion;
    /// Elements behind `Signed`, below the root.
    QByteArray more;
    /// Elements in `Signed`, behind the others.
    QByteArray moreSigned;

    /// The document, without a signature.
    QByteArray Document() const;
};
