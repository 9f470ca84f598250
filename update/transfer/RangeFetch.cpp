// SPDX-License-Identifier: MIT

#include "update/transfer/RangeFetch.h"

#include "update/base/DownloadState.h"
#include "update/transfer/RangeReply.h"
#include "update/transfer/RangeStore.h"

RangeFetch::RangeFetch(RangeStore &store, DownloadState &state, bool isLastRange)
    : m_store(store)
    , m_state(state)
    , m_isLastRange(isLastRange)
{
}

QNetworkRequest RangeFetch::MakeRequest(const QUrl &url)
{
    return gRangeRequest(url, m_store.Rest(), m_isLastRange);
}

RangeVerdict RangeFetch::Judge(const RangeAnswer &answer) const
{
    const RangeVerdict verdict = gJudgeAnswer(m_store.Rest(), answer);
    if (verdict != RangeVerdict::Accepted) {
        return verdict;
    }
    const QByteArray version = gValidator(answer);
    const bool isOther =
        !version.isEmpty() && !m_state.validator.isEmpty() && version != m_state.validator;
    return isOther ? RangeVerdict::OtherVersion : RangeVerdict::Accepted;
}

void RangeFetch::Accept(const RangeAnswer &answer)
{
    if (m_state.validator.isEmpty()) {
        m_state.validator = gValidator(answer);
    }
}

bool RangeFetch::Record(qint64 bytes)
{
    m_state.alreadyDownloaded += bytes;
    m_store.Save(m_state.alreadyDownloaded);
    return true;
}

bool RangeFetch::RefusesExcess() const
{
    return !m_store.HasAllBytes();
}
