// SPDX-License-Identifier: MIT

#pragma once

#include "update/trust/SignedStatement.h"

#include <QString>

#include <optional>

/// What a manifest offers for download, as values. Addresses are taken as they stand in it.
struct PackageOffer {
    /// The version of the first release notes. Without release notes no version is named, and
    /// nothing is downloaded.
    bool namesVersion = false;
    QString version;
    QString fullUrl;
    /// MD5 of the full package; empty when this manifest names none.
    QString fullMd5;
    /// Empty when there is no incremental package.
    QString incrementalUrl;
    /// MD5 of the installer that the incremental package makes.
    QString incrementalMd5;
    /// MD5 of the kept installer that the incremental package applies to.
    QString keptMd5;
    /// Of a manifest whose signature was verified: what is fetched and offered has to be what it names.
    std::optional<SignedStatement> statement;
};
