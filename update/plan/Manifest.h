// SPDX-License-Identifier: MIT

#pragma once

#include "update/trust/SignedStatement.h"

#include <QList>
#include <QString>

#include <optional>

/// One entry of the release notes: a version, and its notes.
struct ReleaseNote {
    QString version;
    QString notes;
};

/// The texts of an update manifest, as they stand in the document. `VersionInfo` describes its elements.
/// A text is empty when its element is empty or missing; an optional one is missing with its element.
struct ManifestValues {
    struct IncreasePackage {
        QString url;
        QString version;
        QString md5;
        QString size;
        QString autoNotify;
    };

    QString exeUrl;
    std::optional<QString> verify;
    /// The first of that name outside of every incremental package.
    QString ownVerify;
    std::optional<QString> oldVerify;
    std::optional<IncreasePackage> increasePackage;
    QList<ReleaseNote> releaseNotes;
    /// Of a manifest whose signature was verified. `gReadManifest` verifies none, and gives none.
    std::optional<SignedStatement> statement;
};

/// Reads the manifest out of @p xml.
///
/// Elements are read down to 1000 levels. The time grows with the length of the text alone: 1 MiB of the
/// worst text takes a few tenths of a second.
///
/// Thread: any; the text is parsed on a thread with a stack of its own, which is waited for.
/// Errors: an empty manifest, for a text that is no XML, is nested deeper, declares more of a document
///         type than its name, or whose release notes repeat each other beyond 4 Mi characters.
ManifestValues gReadManifest(const QString &xml);
