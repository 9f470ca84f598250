// SPDX-License-Identifier: MIT

#pragma once

#include "update/transfer/RangeAnswer.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QString>
#include <QUrl>

/// Requests for a package or a part of it, and readings of their replies.

/// Asks for the whole of a package.
QNetworkRequest gPackageRequest(const QUrl &url);
/// Asks for @p question; an open-ended request names no last byte.
QNetworkRequest gRangeRequest(const QUrl &url, const RangeQuestion &question, bool isOpenEnded);

/// The fields that describe the body.
RangeAnswer gRangeAnswer(const QNetworkReply &reply);

/// The body is a page that goes with an error or a redirect. Both are handled when the reply ends.
bool gIsErrorOrRedirect(const QNetworkReply &reply);

/// Where @p reply redirects to.
QUrl gRedirectTarget(const QNetworkReply &reply);

/// The content type without parameters, in lower case.
QString gContentType(const QNetworkReply &reply);
bool gIsPackageType(const QString &contentType);

/// Ends of a transfer that are not reported as failures: the module cancelled it, or the connection
/// was cut and the rest is asked for again.
bool gIsSilent(QNetworkReply::NetworkError code);

/// A server or a proxy has begun to answer.
bool gIsAnswered(const QNetworkReply &reply);

/// The connection has failed, as opposed to an error that a server or a proxy answers with. Where the
/// server answered before, this is part of a cut: a network that went away takes a while to come back.
bool gIsConnectionError(QNetworkReply::NetworkError code);
