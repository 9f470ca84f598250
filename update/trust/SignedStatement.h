// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QtGlobal>

#include <limits>
#include <optional>

/// What a signed manifest says of one file.
struct SignedFile {
    /// 64 lower-case hexadecimal digits.
    QString sha256;
    /// In bytes, above 0.
    qint64 size = 0;
};

/// What a signed manifest says of itself and of what it offers: its element `Signed`.
///
///     Signed             a child of the root, once; its children once each, without elements in them
///       Serial             decimal, 64 bits; grows with every publication of the site
///       Expires            "2027-01-31T00:00:00Z"; may be empty or missing: never
///       ForVersion         the version whose clients this manifest answers; empty: all
///       FullSha256         of the full package, 64 lower-case hexadecimal digits
///       FullSize           its size in bytes, decimal; both are empty without a full package
///       PatchSha256        of the incremental package
///       PatchSize          its size; both are empty without one
///       ResultSha256       of the installer that it makes; empty without one
///
/// Other elements in `Signed` are for later versions and skipped. docs/trust.md is the page of the format.
struct SignedStatement {
    /// No manifest has it: nothing could follow.
    static constexpr quint64 serialLimit = std::numeric_limits<quint64>::max();

    quint64 serial = 0;
    std::optional<QDateTime> expires;
    QString forVersion;
    std::optional<SignedFile> full;
    std::optional<SignedFile> patch;
    /// Empty without an incremental package.
    QString resultSha256;
};

/// Reads the statement out of the signed bytes of a manifest.
///
/// Stricter than the parser of the manifest: a document type, a name that stands twice, one of these names
/// outside of `Signed`, and every value that is not exactly as above are refused.
///
/// Thread: any. @param refusal receives the rule that was broken, for the log
std::optional<SignedStatement> gReadSignedStatement(const QByteArray &manifest, QString *refusal);
