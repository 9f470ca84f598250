// SPDX-License-Identifier: MIT

#pragma once

#include "update/transfer/RangeAnswer.h"

#include <QNetworkReply>
#include <QNetworkRequest>

class QUrl;

/// How bytes of a package are asked for, judged and recorded. There are two: `RangeMode` for the
/// range of a downloader, and `WholePackageMode` behind a redirect.
///
/// Thread: GUI thread.
class FetchMode
{
public:
    FetchMode() = default;
    FetchMode(const FetchMode &) = delete;
    FetchMode &operator=(const FetchMode &) = delete;
    virtual ~FetchMode() = default;

    /// Makes the store ready for the answer, and gives the request for what is still missing.
    virtual QNetworkRequest MakeRequest(const QUrl &url) = 0;

    /// Whether the body of @p answer may be written.
    virtual RangeVerdict Judge(const RangeAnswer &answer) const = 0;

    /// The body of @p answer is about to be written.
    virtual void Accept(const RangeAnswer &answer) = 0;

    /// Records that @p bytes were written. @return whether they count as progress of the package
    virtual bool Record(qint64 bytes) = 0;

    /// A server that sends more than it was asked for sends another package.
    virtual bool RefusesExcess() const = 0;

    /// The fetch ends with its last byte, whatever the reply does after it.
    virtual bool EndsWithLastByte() const = 0;

    /// The reply that ended with @p code was cut, and its end was not handled as a cut before.
    virtual bool IsLateCut(QNetworkReply::NetworkError code) const = 0;
};
