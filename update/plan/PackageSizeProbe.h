// SPDX-License-Identifier: MIT

#pragma once

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QObject>
#include <QUrl>

#include <chrono>
#include <memory>

/// Asks a server for the size of a package with HEAD requests, blocking in a local event loop.
///
/// Thread:    GUI thread. Ownership: created on the stack for one query.
/// Errors:    every failure gives a size of 0 bytes.
class PackageSizeProbe : public QObject
{
    Q_OBJECT

public:
    struct Package {
        qint64 size = 0;
        /// Where the package is to be fetched from.
        QUrl url;
    };

    /// @param limit how long each of the requests may stay without an answer
    explicit PackageSizeProbe(std::chrono::milliseconds limit);

    /// A server that answers 200 is asked once. Any other first answer has to be the first of
    /// exactly two redirects, whatever the status codes behind it; the second target becomes the
    /// package's address. An answer with a text type is a page, and gives no size.
    Package Query(const QUrl &url);

    /// Ends a running query, which then gives 0 bytes.
    void Cancel();

signals:
    void Cancelled();

private:
    std::unique_ptr<QNetworkReply> Head(const QUrl &url);

    QNetworkAccessManager m_network;
    std::chrono::milliseconds m_limit;
    bool m_cancelled = false;
};
