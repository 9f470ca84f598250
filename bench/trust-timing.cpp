// SPDX-License-Identifier: MIT

// trust-timing verify N: what it costs to verify and to read a signed manifest of the largest size that is
// published, N times.
// trust-timing copy FILE FOLDER: what the private copy of a package with its digest costs.

#include "tests/support/MinisignKeyPair.h"
#include "update/check/TrustedManifest.h"
#include "update/trust/PrivateCopy.h"
#include "update/trust/SignedDocument.h"

#include <QElapsedTimer>
#include <QFileInfo>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <limits>
#include <vector>

namespace
{
constexpr double nanosecondsPerMillisecond = 1e6;

QByteArray gManifest()
{
    constexpr int notesSize = 14 * 1024;

    return "<Update>\n<ExeUrl_x64></ExeUrl_x64>\n<Text>" + QByteArray(notesSize, 'n') +
           "</Text>\n<Signed>\n<Serial>5</Serial>\n<Expires>2030-01-01T00:00:00Z</Expires>\n"
           "<ForVersion>9.1.0.0</ForVersion>\n<FullSha256/>\n<FullSize/>\n<PatchSha256/>\n"
           "<PatchSize/>\n<ResultSha256/>\n</Signed>\n</Update>\n";
}

int gVerify(int rounds)
{
    const MinisignKeyPair pair('b');
    const QByteArray answer = pair.Sign(gManifest());
    const QList<MinisignKey> keys = gReadMinisignKeys({pair.PublicKey()});
    std::vector<double> verified;
    std::vector<double> read;
    for (int round = 0; round < rounds; ++round) {
        QString refusal;
        QElapsedTimer clock;
        clock.start();
        const bool isVerified = gVerifyDocument(answer, keys, &refusal).has_value();
        verified.push_back(static_cast<double>(clock.nsecsElapsed()) / nanosecondsPerMillisecond);
        clock.start();
        const bool isRead = gReadTrustedManifest(answer, keys, &refusal).has_value();
        read.push_back(static_cast<double>(clock.nsecsElapsed()) / nanosecondsPerMillisecond);
        if (!isVerified || !isRead) {
            std::cerr << "trust-timing: refused, " << qUtf8Printable(refusal) << '\n';
            return 1;
        }
    }
    std::sort(verified.begin(), verified.end());
    std::sort(read.begin(), read.end());
    std::printf("{\"bytes\":%d,\"verify_ms\":%.4f,\"verify_worst_ms\":%.4f,\"read_ms\":%.4f}\n",
                answer.size(), verified.at(verified.size() / 2), verified.back(),
                read.at(read.size() / 2));
    return 0;
}

int gCopy(const QString &file, const QString &folder)
{
    QElapsedTimer clock;
    clock.start();
    const PrivateCopy::Outcome outcome =
        PrivateCopy::Make(file, QFileInfo(file).fileName(), QFileInfo(file).size(),
                          [folder](QString * /*failure*/) { return folder; });
    const double elapsed = static_cast<double>(clock.nsecsElapsed()) / nanosecondsPerMillisecond;
    if (outcome.copy == nullptr) {
        std::cerr << "trust-timing: " << qUtf8Printable(outcome.failure) << '\n';
        return 1;
    }
    std::printf("{\"ms\":%.3f,\"sha256\":\"%s\"}\n", elapsed, qUtf8Printable(outcome.sha256));
    return 0;
}
} // namespace

int main(int argc, char *argv[])
{
    const std::vector<QString> arguments = [argc, argv] {
        std::vector<QString> all;
        for (int index = 1; index < argc; ++index) {
            all.push_back(QString::fromLocal8Bit(argv[index]));
        }
        return all;
    }();
    if (arguments.size() == 2 && arguments[0] == QLatin1String("verify") &&
        arguments[1].toInt() > 0) {
        return gVerify(arguments[1].toInt());
    }
    if (arguments.size() == 3 && arguments[0] == QLatin1String("copy")) {
        return gCopy(arguments[1], arguments[2]);
    }
    std::cerr << "usage: trust-timing verify N | copy FILE FOLDER\n";
    return 2;
}
