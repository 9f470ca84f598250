// SPDX-License-Identifier: MIT

#pragma once

#include "update/transfer/FetchMode.h"

struct DownloadState;
class RangeStore;
struct RangeTask;

/// Fetches the rest of one range: asks for it by its bytes, writes it in place, counts it into the
/// package and saves how far it has come.
///
/// Where nothing verifies the package in the end, all ranges of a plan have to come from one version of
/// it, which the first answer with a validator names. Where its MD5 is known, other validators prove
/// nothing: each server of a farm may have its own.
class RangeMode : public FetchMode
{
public:
    RangeMode(RangeStore &store, DownloadState &state, const RangeTask &task);

    QNetworkRequest MakeRequest(const QUrl &url) override;
    RangeVerdict Judge(const RangeAnswer &answer) const override;
    void Accept(const RangeAnswer &answer) override;
    bool Record(qint64 bytes) override;
    /// What lies behind the end of the range is left out.
    bool RefusesExcess() const override;
    bool EndsWithLastByte() const override { return true; }
    bool IsLateCut(QNetworkReply::NetworkError /*code*/) const override { return false; }

private:
    RangeStore &m_store;
    DownloadState &m_state;
    bool m_isLastRange;
    bool m_isVerifiedAtEnd;
};
