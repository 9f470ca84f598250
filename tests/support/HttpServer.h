// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/HttpAnswer.h"
#include "tests/support/HttpRequest.h"

#include <QHash>
#include <QList>
#include <QMutex>
#include <QString>
#include <QThread>
#include <QUrl>

#include <atomic>
#include <memory>

class Listener;

/// A small HTTP/1.1 server on a free port of 127.0.0.1, with a scripted answer for each path. A
/// path without one gives 404.
///
/// Thread:    it runs on a thread of its own, so that it answers while the test's thread is
/// blocked.
///            All functions may be called from any thread.
/// Ownership: created by a test; the destructor closes every connection and joins the thread.
class HttpServer
{
public:
    HttpServer();
    /// A server behind @p listener, for example one that encrypts.
    explicit HttpServer(std::unique_ptr<Listener> listener);
    ~HttpServer();
    HttpServer(const HttpServer &) = delete;
    HttpServer &operator=(const HttpServer &) = delete;

    /// "127.0.0.1:<port>".
    QString Host() const;
    /// The address of @p path, which starts with a slash.
    QString Address(const QString &path) const;
    QUrl Url(const QString &path) const { return QUrl(Address(path)); }

    /// Sets what @p path answers from now on; an answer for one @p method goes before one for all.
    void Serve(const QByteArray &path, const HttpAnswer &answer,
               const QByteArray &method = QByteArray());

    /// Every request so far, in the order of arrival; of one method, or of all.
    QList<HttpRequest> Requests(const QByteArray &method = QByteArray()) const;
    void ForgetRequests();

    int OpenConnections() const { return m_openConnections; }
    /// All connections so far, those that brought no request included.
    int Connections() const { return m_connections; }

    /// For the connections: files @p request and gives the answer to it.
    HttpAnswer Receive(const HttpRequest &request);

private:
    void Accept();

    mutable QMutex m_mutex;
    QHash<QByteArray, HttpAnswer> m_answers;
    QList<HttpRequest> m_requests;
    std::atomic<int> m_openConnections{0};
    std::atomic<int> m_connections{0};
    QThread m_thread;
    Listener *m_listener;
    QString m_scheme;
    /// Written on the server's thread.
    std::atomic<quint16> m_port{0};
};
