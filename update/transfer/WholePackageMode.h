// SPDX-License-Identifier: MIT

#pragma once

#include "update/transfer/FetchMode.h"

class RangeStore;

/// Fetches the whole package from where a redirect leads: asks for it without a range, and writes it
/// from its first byte. The resume state has no place for that, so nothing is counted or saved, and
/// what was cut is fetched from its beginning again.
class WholePackageMode : public FetchMode
{
public:
    explicit WholePackageMode(RangeStore &store);

    QNetworkRequest MakeRequest(const QUrl &url) override;
    RangeVerdict Judge(const RangeAnswer &answer) const override;
    void Accept(const RangeAnswer & /*answer*/) override {}
    bool Record(qint64 /*bytes*/) override { return false; }
    bool RefusesExcess() const override { return true; }
    /// The progress of the reply says when all of it is there.
    bool EndsWithLastByte() const override { return false; }
    bool IsLateCut(QNetworkReply::NetworkError code) const override;

private:
    RangeStore &m_store;
};
