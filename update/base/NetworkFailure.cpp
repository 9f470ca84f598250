// SPDX-License-Identifier: MIT

#include "update/base/NetworkFailure.h"

#include "api/Log.h"

QString gFailureKind(QNetworkReply::NetworkError code, int status)
{
    constexpr int firstErrorStatus = 400;

    // What a proxy refuses has a status as well, but it is not the server's.
    if (status >= firstErrorStatus && code != QNetworkReply::ProxyAuthenticationRequiredError) {
        return QStringLiteral("HTTP status %1").arg(status);
    }
    // The network layer's codes are many; only these mean something of their own to an operator.
    switch (static_cast<int>(code)) {
    case QNetworkReply::NoError:
        return QStringLiteral("no error");
    case QNetworkReply::ConnectionRefusedError:
        return QStringLiteral("refused");
    case QNetworkReply::RemoteHostClosedError:
        return QStringLiteral("cut");
    case QNetworkReply::HostNotFoundError:
        return QStringLiteral("offline or unknown host");
    case QNetworkReply::TimeoutError:
        return QStringLiteral("timed out");
    case QNetworkReply::OperationCanceledError:
        return QStringLiteral("cancelled");
    case QNetworkReply::SslHandshakeFailedError:
        return QStringLiteral("TLS");
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
        return QStringLiteral("offline");
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyConnectionClosedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyTimeoutError:
    case QNetworkReply::ProxyAuthenticationRequiredError:
    case QNetworkReply::UnknownProxyError:
        return QStringLiteral("proxy");
    case QNetworkReply::ProtocolUnknownError:
    case QNetworkReply::ProtocolInvalidOperationError:
    case QNetworkReply::ProtocolFailure:
        return QStringLiteral("protocol");
    default:
        return QStringLiteral("network error %1").arg(static_cast<int>(code));
    }
}

QString gFailureKind(const QNetworkReply &reply)
{
    return gFailureKind(reply.error(),
                        reply.attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt());
}

QString gLogAddress(const QUrl &url)
{
    // An address that was put together wrongly may have anything anywhere.
    if (url.host().isEmpty()) {
        return QStringLiteral("an address without a host");
    }
    return url.toString(QUrl::RemoveUserInfo | QUrl::RemoveQuery | QUrl::RemoveFragment);
}

void gLogFailure(const char *file, const char *function, const QNetworkReply &reply)
{
    QUILLON_LOG(file, function, "%s, %s", gFailureKind(reply).toStdString().c_str(),
                gLogAddress(reply.url()).toStdString().c_str());
}

void gLogTlsErrors(const char *file, const char *function, const QList<QSslError> &errors)
{
    for (const QSslError &error : errors) {
        QUILLON_LOG(file, function, "TLS, %s", error.errorString().toStdString().c_str());
    }
}
