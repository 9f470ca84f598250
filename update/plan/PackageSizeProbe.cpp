// SPDX-License-Identifier: MIT

#include "update/plan/PackageSizeProbe.h"

#include "api/Log.h"
#include "update/base/NetworkFailure.h"
#include "update/base/ServerAddress.h"

#include <QEventLoop>
#include <QTimer>

#include <algorithm>

namespace
{
constexpr char logFile[] = "LiveUpdateMgr";
constexpr char logFunction[] = "LiveUpdateMgr::QueryPackageSize";

/// A page instead of the package: a network that wants a login first answers everything with one.
bool gIsPage(const QNetworkReply &reply)
{
    const QString type = reply.header(QNetworkRequest::ContentTypeHeader).toString();
    return type.trimmed().startsWith(QLatin1String("text/"), Qt::CaseInsensitive);
}

qint64 gContentLength(const QNetworkReply &reply)
{
    if (gIsPage(reply)) {
        QUILLON_LOG(logFile, logFunction, "size query failed, the answer is a page, %s",
                    gLogAddress(reply.url()).toStdString().c_str());
        return 0;
    }
    const qint64 length = reply.header(QNetworkRequest::ContentLengthHeader).toLongLong();
    if (length <= 0 && reply.error() == QNetworkReply::NoError) {
        QUILLON_LOG(logFile, logFunction, "size query failed, no length is given, %s",
                    gLogAddress(reply.url()).toStdString().c_str());
    }
    return std::max<qint64>(0, length);
}

/// Where @p reply redirects to; an empty address when it does not.
QUrl gNextAddress(const QNetworkReply &reply)
{
    const QUrl target = reply.attribute(QNetworkRequest::RedirectionTargetAttribute).toUrl();
    return target.isEmpty() ? target : reply.url().resolved(target);
}
} // namespace

PackageSizeProbe::PackageSizeProbe(std::chrono::milliseconds limit)
    : m_limit(limit)
{
}

PackageSizeProbe::Package PackageSizeProbe::Query(const QUrl &url)
{
    auto reply = Head(url);
    if (reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() == 200) {
        return {gContentLength(*reply), url};
    }
    // Two redirects, no more and no less: that is how packages are published. A server that
    // redirects once ends at an empty address, and so at a size of 0.
    reply = Head(gNextAddress(*reply));
    const QUrl target = gNextAddress(*reply);
    if (!gIsServerAddress(target)) {
        QUILLON_LOG(logFile, logFunction, "a redirect to %s is not followed",
                    gLogAddress(target).toStdString().c_str());
        return {0, target};
    }
    reply = Head(target);
    return {gContentLength(*reply), target};
}

void PackageSizeProbe::Cancel()
{
    m_cancelled = true;
    emit Cancelled();
}

std::unique_ptr<QNetworkReply> PackageSizeProbe::Head(const QUrl &url)
{
    QNetworkRequest request(url);
    // The length of a compressed answer would not be the package's.
    request.setRawHeader("Accept-Encoding", "identity");
    std::unique_ptr<QNetworkReply> reply(m_network.head(request));
    QEventLoop loop;
    QObject::connect(reply.get(), SIGNAL(finished()), &loop, SLOT(quit()));
    connect(this, &PackageSizeProbe::Cancelled, reply.get(), &QNetworkReply::abort);
    if (m_cancelled) {
        reply->abort();
    }
    QTimer limit;
    limit.setSingleShot(true);
    connect(&limit, &QTimer::timeout, reply.get(), &QNetworkReply::abort);
    limit.start(m_limit);
    if (!reply->isFinished()) {
        loop.exec();
    }
    if (reply->error() != QNetworkReply::NoError) {
        const bool isLate = !limit.isActive();
        QUILLON_LOG(logFile, logFunction, "size query failed, error code %d",
                    static_cast<int>(reply->error()));
        QUILLON_LOG(logFile, logFunction, "%s, %s",
                    isLate ? "stall, no answer in time"
                           : gFailureKind(*reply).toStdString().c_str(),
                    gLogAddress(reply->url()).toStdString().c_str());
    }
    return reply;
}
