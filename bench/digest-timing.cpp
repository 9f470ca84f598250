// SPDX-License-Identifier: MIT

// digest-timing FILE: what the MD5 of a package costs.

#include "api/FileDigest.h"

#include <QElapsedTimer>
#include <QString>

#include <cstdio>
#include <ctime>
#include <iostream>

int main(int argc, char *argv[])
{
    constexpr double nanosecondsPerMillisecond = 1e6;
    constexpr double millisecondsPerSecond = 1e3;

    if (argc != 2) {
        std::cerr << "usage: digest-timing FILE\n";
        return 2;
    }
    QElapsedTimer clock;
    clock.start();
    const std::clock_t before = std::clock();
    const QString md5 = FileMd5Hex(QString::fromLocal8Bit(argv[1]));
    const double computed =
        static_cast<double>(std::clock() - before) * millisecondsPerSecond / CLOCKS_PER_SEC;
    const double elapsed = static_cast<double>(clock.nsecsElapsed()) / nanosecondsPerMillisecond;
    if (md5.isEmpty()) {
        std::cerr << "digest-timing: cannot read " << argv[1] << '\n';
        return 1;
    }
    std::printf("{\"ms\":%.3f,\"cpu_ms\":%.3f,\"md5\":\"%s\"}\n", elapsed, computed,
                qUtf8Printable(md5));
    return 0;
}
