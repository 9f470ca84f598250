// SPDX-License-Identifier: MIT

#pragma once

#include <QList>
#include <QNetworkReply>
#include <QSslError>
#include <QString>
#include <QUrl>

/// What kind of failure ended a request, in words that operators can search the log for: "offline",
/// "refused", "TLS", "HTTP status 404", "cut", "cancelled", and others. Never quotes the address.
/// @param status the status of the answer; 0 when there was none
QString gFailureKind(QNetworkReply::NetworkError code, int status);
QString gFailureKind(const QNetworkReply &reply);

/// An address as it may stand in the log: without the query, which can carry an e-mail address, and
/// without a user's name and password. One that names no host is not quoted at all.
QString gLogAddress(const QUrl &url);

/// Writes one line that says what ended @p reply, and which address it asked.
void gLogFailure(const char *file, const char *function, const QNetworkReply &reply);

/// Writes a line for each thing that is wrong with a server's certificate.
void gLogTlsErrors(const char *file, const char *function, const QList<QSslError> &errors);
