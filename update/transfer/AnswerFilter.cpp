// SPDX-License-Identifier: MIT

#include "update/transfer/AnswerFilter.h"

#include "api/Log.h"
#include "update/transfer/RangeReply.h"
#include "update/transfer/RangeStore.h"

namespace
{
constexpr char logFile[] = "UpdateCommon";
} // namespace

AnswerFilter::AnswerFilter(RangeStore *store)
    : m_store(store)
{
}

AnswerFilter::Outcome AnswerFilter::Check(QNetworkReply *reply, const char *function)
{
    if (gIsBodyOfOtherUse(*reply)) {
        reply->readAll(); // A reply ends only once its body was taken.
        return Outcome::Ignore;
    }
    if (!IsAccepted(*reply, function)) {
        return Outcome::Refuse;
    }
    const QString type = gContentType(*reply);
    if (!gIsPackageType(type)) {
        QUILLON_LOG(logFile, function, "range %d is ignored, wrong content type \"%s\"",
                    m_store->RangeNumber(), type.toStdString().c_str());
        return Outcome::Ignore;
    }
    return Outcome::Write;
}

bool AnswerFilter::IsAccepted(const QNetworkReply &reply, const char *function)
{
    if (m_isAccepted) {
        return true;
    }
    const RangeAnswer answer = gRangeAnswer(reply);
    const RangeVerdict verdict =
        m_isWhole ? gJudgeWholePackage(answer) : gJudgeAnswer(m_store->Rest(), answer);
    if (verdict != RangeVerdict::Accepted) {
        const QString type = gContentType(reply);
        QUILLON_LOG(logFile, function, "range %d is refused, HTTP status %d, %s%s%s",
                    m_store->RangeNumber(), answer.status, gVerdictText(verdict),
                    gIsPackageType(type) ? "" : ", wrong content type ",
                    gIsPackageType(type) ? "" : type.toStdString().c_str());
        return false;
    }
    if (!m_isWhole && !m_store->IsSameVersion(gValidator(answer))) {
        QUILLON_LOG(logFile, function,
                    "range %d is refused, the package was replaced on the server",
                    m_store->RangeNumber());
        // What is there belongs to a package that nobody serves any more.
        m_store->Discard();
        return false;
    }
    m_isAccepted = true;
    return true;
}
