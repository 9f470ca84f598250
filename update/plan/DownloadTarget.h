// SPDX-License-Identifier: MIT

#pragma once

#include "update/trust/SignedPackage.h"

#include <QString>
#include <QUrl>

#include <optional>

struct PackageOffer;

/// What of an offer is downloaded, and where it goes.
struct DownloadTarget {
    QUrl url;
    /// The file that the ranges are written into.
    QString path;
    /// Where a complete full package is moved to.
    QString installerPath;
    /// MD5 of the result of an incremental package; empty for the full one.
    QString expectedMd5;
    bool isIncremental = false;
    /// MD5 of a full package itself; empty when the manifest names none, and for an incremental one.
    QString packageMd5;
    QString version;
    /// What a verified manifest says of it.
    std::optional<SignedPackage> signedPackage = std::nullopt;
};

/// The full or the incremental package of @p offer, in the folder of `gPackageFolder()`, under the name
/// that stands behind the last slash of its address. Whether a file can have that name is another
/// question, see `gNameRefusal`.
DownloadTarget gDownloadTarget(const PackageOffer &offer, bool incremental);

/// The MD5 that tells the package of @p target from others, in lower case: its own, or that of what an
/// incremental one makes.
QString gIdentifyingMd5(const DownloadTarget &target);

/// The name under which the new file of a fresh start is made, before it is @p target.
QString gNewTarget(const QString &target);

/// Makes @p path an empty file of @p size bytes. What fails is logged only: the downloads start all
/// the same, and report what fails when they write.
/// @return whether the file is there
bool gCreateEmptyFile(const QString &path, qint64 size);
