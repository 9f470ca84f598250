// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QNetworkRequest>
#include <QThread>

#include <functional>

class QNetworkReply;

/// One blocking HTTP GET with a limit, on a worker thread of its own.
///
/// Thread:    `Get` is called from the thread that created the object and blocks it for at most the
///            limit, without running its event loop.
/// Ownership: created on the heap without a parent, used for one `Get`; it deletes itself when its
///            thread has ended, also when that is after the limit. Never delete it.
/// Errors:    none of its own; a network error, an error status, a body of more than 1 MiB and a
///            time-out all give no bytes.
class NetworkAccessManagerTimeout : public QThread
{
    Q_OBJECT

public:
    /// Takes the body of a successful answer, on the worker thread.
    using Reader = std::function<void(const QByteArray &body)>;

    explicit NetworkAccessManagerTimeout(QObject *parent = nullptr);

    /// @param msecs the limit in milliseconds
    /// @param read  runs within the limit, before this returns the body. It may also run, or still be
    ///              running, when this has returned nothing: what it writes to is its own.
    /// @return the body of a successful answer; empty on failure, and when the limit passed first.
    QByteArray Get(const QNetworkRequest &request, int msecs, const Reader &read = {});

protected:
    void run() override;

private:
    QNetworkRequest m_request;
    QNetworkReply *m_reply = nullptr;
    QByteArray m_data;
    Reader m_read;
    bool m_started = true;
};
