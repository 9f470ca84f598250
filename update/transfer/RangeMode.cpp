// SPDX-License-Identifier: MIT

#include "update/transfer/RangeMode.h"

#include "api/FileDigest.h"
#include "update/base/DownloadState.h"
#include "update/transfer/RangeHttp.h"
#include "update/transfer/RangeStore.h"
#include "update/transfer/RangeTask.h"

RangeMode::RangeMode(RangeStore &store, DownloadState &state, const RangeTask &task)
    : m_store(store)
    , m_state(state)
    , m_isLastRange(task.IsLast())
    , m_isVerifiedAtEnd(gIsMd5(task.isIncremental ? task.expectedMd5 : task.packageMd5))
{
}

QNetworkRequest RangeMode::MakeRequest(const QUrl &url)
{
    return gRangeRequest(url, m_store.Rest(), m_isLastRange);
}

RangeVerdict RangeMode::Judge(const RangeAnswer &answer) const
{
    const RangeVerdict verdict = gJudgeAnswer(m_store.Rest(), answer);
    if (verdict != RangeVerdict::Accepted) {
        return verdict;
    }
    const QByteArray version = gValidator(answer);
    const bool isOther =
        !version.isEmpty() && !m_state.validator.isEmpty() && version != m_state.validator;
    return isOther && !m_isVerifiedAtEnd ? RangeVerdict::OtherVersion : RangeVerdict::Accepted;
}

void RangeMode::Accept(const RangeAnswer &answer)
{
    if (m_state.validator.isEmpty()) {
        m_state.validator = gValidator(answer);
    }
}

bool RangeMode::Record(qint64 bytes)
{
    m_state.alreadyDownloaded += bytes;
    m_store.SaveChunk(m_state.alreadyDownloaded);
    return true;
}

bool RangeMode::RefusesExcess() const
{
    return !m_store.HasAllBytes();
}
