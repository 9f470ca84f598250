// SPDX-License-Identifier: MIT

#pragma once

#include "tests/support/FaultScript.h"
#include "tests/support/HttpRequest.h"

#include <QList>
#include <QMutex>
#include <QString>
#include <QThread>

#include <atomic>
#include <memory>

class QTcpServer;
class TestCertificates;

/// A server on a free port of 127.0.0.1 that behaves as badly as its script says.
///
/// Thread:    it runs on a thread of its own, so that it answers while the test's thread is blocked.
///            All functions may be called from any thread.
/// Ownership: created by a test; the destructor closes every connection and joins the thread.
class FaultServer
{
public:
    FaultServer();
    /// An encrypted one, which shows the certificate of @p certificates.
    explicit FaultServer(const TestCertificates &certificates);
    ~FaultServer();
    FaultServer(const FaultServer &) = delete;
    FaultServer &operator=(const FaultServer &) = delete;

    /// "127.0.0.1:<port>".
    QString Host() const;
    /// The address of @p path, which starts with a slash.
    QString Address(const QString &path) const;

    /// From now on this script holds. Answers that have begun go on.
    void Play(const FaultScript &script);

    /// Every request so far, in the order of arrival; of one method, or of all.
    QList<HttpRequest> Requests(const QByteArray &method = QByteArray()) const;
    void ForgetRequests();

    int OpenConnections() const { return m_openConnections; }

    /// For the connections: files @p request and gives the answer to it.
    FaultAnswer Receive(const HttpRequest &request);

private:
    FaultServer(std::unique_ptr<QTcpServer> listener, const QString &scheme);
    void Accept();

    mutable QMutex m_mutex;
    FaultScript m_script;
    QList<HttpRequest> m_requests;
    std::atomic<int> m_openConnections{0};
    QThread m_thread;
    QTcpServer *m_listener;
    QString m_scheme;
    /// Written on the server's thread.
    std::atomic<quint16> m_port{0};
};
