// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QUrl>

class VersionInfo;

/// What of a manifest is downloaded, and where it goes.
struct DownloadTarget {
    QUrl url;
    /// The file that the ranges are written into.
    QString path;
    /// Where a complete full package is moved to.
    QString installerPath;
    /// MD5 of the result of an incremental package; empty for the full one.
    QString expectedMd5;
};

DownloadTarget gDownloadTarget(const VersionInfo &versionInfo, bool incremental);

/// Whether a download to @p target leaves the installer at @p kept alone, which it applies to. A manifest
/// may name the incremental package as it likes.
bool gSparesKeptInstaller(const DownloadTarget &target, const QString &kept);

/// Makes @p path an empty file of @p size bytes. What fails is logged only: the downloads start all
/// the same, and say what fails when they write.
void gCreateEmptyFile(const QString &path, qint64 size);
