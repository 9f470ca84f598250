// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/DownloadPlan.h"
#include "update/trust/SignedPackage.h"

#include <QString>
#include <QUrl>

#include <optional>

/// What one downloader is to fetch, and what becomes of the package in the end.
struct RangeTask {
    /// The pre-allocated file that all ranges are written into.
    QString targetPath;
    QUrl url;
    /// Where a complete full package is moved to.
    QString installerPath;
    ByteRange range;
    /// 1 to 5; the request of the last range is open-ended.
    int number = 0;
    bool isIncremental = false;
    /// MD5 of the result of an incremental package; empty for a full one.
    QString expectedMd5;
    /// The installer that an incremental package applies to; the target for a full one.
    QString oldPackagePath;
    /// MD5 of a full package itself; empty when there is none to compare with.
    QString packageMd5;
    /// What a verified manifest says of the package. It is never put in place or offered without that.
    std::optional<SignedPackage> signedPackage = std::nullopt;

    bool IsLast() const { return number >= ResumeState::rangeCount; }
};
