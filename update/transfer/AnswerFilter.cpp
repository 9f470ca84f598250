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
    m_isAccepted = false;
}

AnswerFilter::Outcome AnswerFilter::Filter(QNetworkReply *reply, const char *function)
{
    if (gIsErrorOrRedirect(*reply)) {
        reply->readAll(); // A reply ends only once its body was taken.
        return Outcome::Ignore;
    }
    m_isAccepted = m_isAccepted || Judge(*reply, function);
    if (!m_isAccepted) {
        return Outcome::Refuse;
    }
    const QString type = gContentType(*reply);
    if (!gIsPackageType(type)) {
        QUILLON_LOG(logFile, function, "range %d is ignored, wrong content type \"%s\"",
                    m_store.RangeNumber(), type.toStdString().c_str());
        return Outcome::Ignore;
    }
    return Outcome::Write;
}

bool AnswerFilter::Judge(const QNetworkReply &reply, const char *function)
{
    const RangeAnswer answer = gRangeAnswer(reply);
    const RangeVerdict verdict = m_mode->Judge(answer);
    if (verdict == RangeVerdict::Accepted) {
        m_mode->Accept(answer);
        return true;
    }
    if (verdict == RangeVerdict::OtherVersion) {
        QUILLON_LOG(logFile, function, "range %d is refused, %s", m_store.RangeNumber(),
                    gVerdictText(verdict));
        // The bytes on disk belong to a package that the server no longer has.
        m_store.Discard();
        return false;
    }
    const QString type = gContentType(reply);
    QUILLON_LOG(logFile, function, "range %d is refused, HTTP status %d, %s%s%s",
                m_store.RangeNumber(), answer.status, gVerdictText(verdict),
                gIsPackageType(type) ? "" : ", wrong content type ",
                gIsPackageType(type) ? "" : type.toStdString().c_str());
    return false;
}
