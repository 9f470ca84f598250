// SPDX-License-Identifier: MIT

#include "update/transfer/RangeHttp.h"

QNetworkRequest gPackageRequest(const QUrl &url)
{
    QNetworkRequest request(url);
    // Ranges count the package's own bytes, not those of a compressed form of it.
    request.setRawHeader("Accept-Encoding", "identity");
    return request;
}

QNetworkRequest gRangeRequest(const QUrl &url, const RangeQuestion &question, bool isOpenEnded)
{
    QByteArray range = "bytes=" + QByteArray::number(question.first) + '-';
    if (!isOpenEnded) {
        range += QByteArray::number(question.first + question.count - 1);
    }
    QNetworkRequest request = gPackageRequest(url);
    request.setRawHeader("Range", range);
    return request;
}

RangeAnswer gRangeAnswer(const QNetworkReply &reply)
{
    return {reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt(),
            reply.rawHeader("Content-Range"),
            reply.rawHeader("Content-Length"),
            reply.rawHeader("Content-Encoding"),
            reply.rawHeader("ETag"),
            reply.rawHeader("Last-Modified"),
            reply.rawHeader("Date")};
}

bool gIsErrorOrRedirect(const QNetworkReply &reply)
{
    constexpr int firstErrorStatus = 400;

    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() >= firstErrorStatus ||
           reply.hasRawHeader("Location");
}

QUrl gRedirectTarget(const QNetworkReply &reply)
{
    // From the raw header: Qt's own reading of it drops an address that is only a path.
    return reply.url().resolved(QUrl::fromEncoded(reply.rawHeader("Location")));
}

QString gContentType(const QNetworkReply &reply)
{
    const QString header = reply.header(QNetworkRequest::ContentTypeHeader).toString();
    return header.section(QLatin1Char(';'), 0, 0).trimmed().toLower();
}

bool gIsPackageType(const QString &contentType)
{
    return contentType == QLatin1String("application/octet-stream") ||
           contentType == QLatin1String("application/x-msdownload");
}

bool gIsSilent(QNetworkReply::NetworkError code)
{
    return code == QNetworkReply::OperationCanceledError ||
           code == QNetworkReply::RemoteHostClosedError;
}

bool gIsAnswered(const QNetworkReply &reply)
{
    return reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).isValid();
}

bool gIsConnectionError(QNetworkReply::NetworkError code)
{
    // The network layer's codes are many; all others are answers, or would come again.
    switch (static_cast<int>(code)) {
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyTimeoutError:
    // "Network unreachable" and a failed read of an encrypted connection, among others.
    case QNetworkReply::UnknownNetworkError:
        return true;
    default:
        return false;
    }
}
