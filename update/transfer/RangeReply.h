// SPDX-License-Identifier: MIT

#pragma once

#include "update/transfer/RangeAnswer.h"

#include <QNetworkReply>
#include <QNetworkRequest>
#include <QString>
#include <QUrl>

class QNetworkAccessManager;

/// Requests for a package or a part of it, and readings of their replies.

/// Asks for the whole of a package.
QNetworkRequest gPackageRequest(const QUrl &url);
/// Asks for @p question; an open-ended request names no last byte.
QNetworkRequest gRangeRequest(const QUrl &url, const RangeQuestion &question, bool isOpenEnded);

/// The fields that say what the body is.
RangeAnswer gRangeAnswer(const QNetworkReply &reply);

/// The body is a page that goes with an error or a redirect. What they mean is told when they end.
bool gIsBodyOfOtherUse(const QNetworkReply &reply);

/// Where @p reply redirects to.
QUrl gRedirectTarget(const QNetworkReply &reply);

/// Whether @p url is one that a package can be asked for at, and not a file of this machine.
bool gIsServerAddress(const QUrl &url);

/// The content type without parameters, in lower case.
QString gContentType(const QNetworkReply &reply);
bool gIsPackageType(const QString &contentType);

/// Ends of a transfer that are no failure to tell: we cancelled it, or the connection was cut and
/// the rest is asked for again.
bool gIsSilent(QNetworkReply::NetworkError code);

/// Failures to reach the server, as opposed to what it answers. Behind a cut they go on with it: a
/// network that went away takes a while to come back.
bool gIsOfTheConnection(QNetworkReply::NetworkError code);

/// Deletes @p manager from the event loop, out of its parent's hands. A host may delete what owns it
/// in a slot that a reply's signal has led to, and Qt goes on with that reply once the slot returns.
/// Where no event loop runs any more it ends with the application: its thread must not outlive that.
void gDeleteLater(QNetworkAccessManager *manager);
