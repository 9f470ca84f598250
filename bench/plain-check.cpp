// SPDX-License-Identifier: MIT

// plain-check URL: what a check costs a plain Qt program, to compare the module's checks with.
//
// Inside of a figure are the call of `get`, with all that Qt's network library does on its first
// use in a process, the connection, the answer and its body up to `finished`. The manager is made
// before, as a dialog makes it when it is constructed.

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>

#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>

namespace
{
/// Milliseconds; none when the exchange failed.
std::optional<double> gExchangeTime(QNetworkAccessManager *manager, const QUrl &address)
{
    constexpr double nanosecondsPerMillisecond = 1e6;

    QElapsedTimer clock;
    QEventLoop loop;
    clock.start();
    const std::unique_ptr<QNetworkReply> reply(manager->get(QNetworkRequest(address)));
    QObject::connect(reply.get(), &QNetworkReply::finished, &loop, &QEventLoop::quit);
    loop.exec();
    const QByteArray body = reply->readAll();
    const double time = static_cast<double>(clock.nsecsElapsed()) / nanosecondsPerMillisecond;
    if (reply->error() != QNetworkReply::NoError || body.isEmpty()) {
        std::cerr << "plain-check: " << qUtf8Printable(reply->errorString()) << '\n';
        return {};
    }
    return time;
}
} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::cerr << "usage: plain-check URL\n";
        return 2;
    }
    const QUrl address(QString::fromLocal8Bit(argv[1]));
    QNetworkAccessManager manager;
    const std::optional<double> time = gExchangeTime(&manager, address);
    if (!time) {
        return 1;
    }
    std::printf("{\"ms\":%.3f}\n", *time);
    return 0;
}
