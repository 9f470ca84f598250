// SPDX-License-Identifier: MIT

#include "update/transfer/AnswerFilter.h"

#include "api/Log.h"
#include "update/transfer/FetchMode.h"
#include "update/transfer/RangeHttp.h"
#include "update/transfer/RangeStore.h"

namespace
{
constexpr char logFile[] = "UpdateCommon";
} // namespace

AnswerFilter::AnswerFilter(RangeStore &store)
    : m_store(store)
{
}

void AnswerFilter::Begin(FetchMode &mode)
{
    m_mode = &mode;
    m_outcome.reset();
}

AnswerFilter::Outcome AnswerFilter::Filter(QNetworkReply *reply, const char *function)
{
    if (gIsErrorOrRedirect(*reply)) {
        reply->readAll(); // A reply ends only once its body was taken.
        return Outcome::Ignore;
    }
    if (!m_outcome.has_value()) {
        m_outcome = Judge(*reply, function);
    }
    return *m_outcome;
}

AnswerFilter::Outcome AnswerFilter::Judge(const QNetworkReply &reply, const char *function)
{
    // First of all: the length, the place and the version of a page say nothing about the package.
    const QString type = gContentType(reply);
    if (!gIsPackageType(type)) {
        QUILLON_LOG(logFile, function, "range %d is ignored, wrong content type \"%s\"",
                    m_store.RangeNumber(), type.toStdString().c_str());
        return Outcome::Ignore;
    }
    const RangeAnswer answer = gRangeAnswer(reply);
    const RangeVerdict verdict = m_mode->Judge(answer);
    if (verdict == RangeVerdict::Accepted) {
        m_mode->Accept(answer);
        return Outcome::Write;
    }
    if (verdict == RangeVerdict::OtherVersion) {
        // The bytes on disk belong to a package that the server no longer has.
        m_store.Discard();
    }
    QUILLON_LOG(logFile, function, "range %d is refused, HTTP status %d, %s", m_store.RangeNumber(),
                answer.status, gVerdictText(verdict));
    return Outcome::Refuse;
}
