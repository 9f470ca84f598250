// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/Manifest.h"
#include "update/plan/PackageOffer.h"

#include <QList>
#include <QObject>
#include <QString>

#include <optional>

/// The update manifest that the service answers with, and the values parsed out of it.
///
/// The document is XML in UTF-8 with any root element. Elements are found by name at any depth, the
/// first one counts, and their text is taken without trimming:
///
///     ExeUrl_x64        address of the full installer; empty or missing: there is no update
///     Verify_x64        its MD5; must stand before IncreasePackage, which has one of its own
///     OldVerify_x64     MD5 of the kept installer that the incremental package applies to
///     WhatNews          release notes (the first one only)
///       Item *            in order, duplicates kept
///         Version           version that the notes belong to
///         Text              notes, an HTML fragment in escaped form or as CDATA
///     IncreasePackage   the incremental package (the first one only)
///       Url_x64           its address
///       Version           version that it leads to
///       Verify_x64        MD5 of the patched result
///       Size_x64          its size in bytes
///       AutoNotify        non-zero: the user is to be notified automatically
///
/// Thread: one thread. Ownership: its Qt parent.
/// Errors: none are reported; what `gReadManifest` does not accept gives empty strings, 0, false
/// and an empty list.
class VersionInfo : public QObject
{
    Q_OBJECT

public:
    /// Parses @p xml at once.
    VersionInfo(const QString &xml, QObject *parent);

    /// Replaces the document and parses again. Every value is reset first, except the full
    /// package's MD5: a document without `Verify_x64` keeps the one of the document before.
    void setXml(const QString &xml);

    /// The same for a document that was parsed elsewhere, by `gReadManifest`.
    void SetManifest(const QString &xml, const ManifestValues &manifest);

    QString ExeUrl() const { return m_exeUrl; }
    QString FullPackageMd5() const { return m_fullPackageMd5; }
    /// The notes as HTML lists.
    QList<ReleaseNote> ReleaseNotes() const { return m_releaseNotes; }
    QString IncreaseUrl() const { return m_increaseUrl; }
    QString IncreaseVersion() const { return m_increaseVersion; }
    QString IncreaseMd5() const { return m_increaseMd5; }
    /// Bytes; 0 when the manifest's number is missing, damaged or above 4294967295.
    qint64 IncreaseSize() const { return m_increaseSize; }
    bool AutoNotify() const { return m_autoNotify; }
    QString OldVerify() const { return m_oldVerify; }

    /// What of the manifest the plan of a download needs.
    PackageOffer Offer() const;

    bool HasExeUrl() const { return !m_exeUrl.isEmpty(); }
    bool HasIncreasePackage() const { return !m_increaseUrl.isEmpty(); }

    /// @p notes as an ordered HTML list; notes that contain "<ol>" already stay as they are.
    static QString wrapNotes(QString notes);

private:
    void ParseXml();
    void TakeValues(const ManifestValues &manifest);
    void TakeIncreasePackage(const std::optional<ManifestValues::IncreasePackage> &package);

    QString m_xml;
    QString m_exeUrl;
    QString m_fullPackageMd5;
    /// What this manifest names for the full package, wherever it stands; empty for none. The value above
    /// can be that of an earlier manifest, or of the incremental package.
    QString m_ownFullPackageMd5;
    QList<ReleaseNote> m_releaseNotes;
    QString m_increaseUrl;
    QString m_increaseVersion;
    QString m_increaseMd5;
    qint64 m_increaseSize = 0;
    bool m_autoNotify = false;
    QString m_oldVerify;
    std::optional<SignedStatement> m_statement;
};
