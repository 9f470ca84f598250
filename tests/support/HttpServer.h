// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/FaultScript.h"
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
class TestCertificates;

/// A small HTTP/1.1 server on a free port of 127.0.0.1. It gives what a test has set with `Serve`
/// for a path, or what a script of `Play` says for a request; without either it gives 404. A script
/// goes before what was set with `Serve`.
///
/// Thread:    it runs on a thread of its own, so that it answers while the test's thread is
///            blocked. All functions may be called from any thread.
/// Ownership: created by a test; the destructor closes every connection and joins the thread.
class HttpServer
{
public:
    HttpServer();
    /// An encrypted one, which shows the certificate of @p certificates.
    explicit HttpServer(const TestCertificates &certificates);
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
    /// From now on this script holds. Answers that have begun go on.
    void Play(const FaultScript &script);

    /// Every request so far, in the order of arrival; of one method, or of all.
    QList<HttpRequest> Requests(const QByteArray &method = QByteArray()) const;
    void ForgetRequests();

    /// From now on connections are refused. Those that are open go on.
    void StopListening();
    /// Accepts connections again, under the same address.
    void ListenAgain();

    int OpenConnections() const { return m_openConnections; }
    /// All connections so far, those that brought no request included.
    int Connections() const { return m_connections; }

    /// For the connections: files @p request and gives the steps of the answer to it.
    QList<FaultStep> Receive(const HttpRequest &request);

private:
    explicit HttpServer(std::unique_ptr<Listener> listener);
    void Accept();

    mutable QMutex m_mutex;
    /// By method and path, or by the path alone.
    QHash<QByteArray, FaultAnswer> m_answers;
    FaultScript m_script;
    QList<HttpRequest> m_requests;
    std::atomic<int> m_openConnections{0};
    std::atomic<int> m_connections{0};
    QThread m_thread;
    Listener *m_listener;
    QString m_scheme;
    /// Written on the server's thread.
    std::atomic<quint16> m_port{0};
};
