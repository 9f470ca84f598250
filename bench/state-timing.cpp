// SPDX-License-Identifier: MIT

// state-timing --dir D --saves N: what it costs to save the state of a download after a chunk.
//
// The plan of a package of 1 GB is recorded in D as a download records it, then N chunks are saved,
// of one range after the other. A figure holds the save alone, without the write of the chunk.

#include "platform/BootIdentity.h"
#include "update/plan/ResumePoint.h"
#include "update/plan/ResumeState.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QElapsedTimer>

#include <cstdio>
#include <ctime>
#include <iostream>

namespace
{
constexpr qint64 packageSize = 1000000003;

/// What a chunk saves, as `RangeStore::SaveChunk` has it.
bool gSaveChunk(ResumeState *state, int rangeNumber, qint64 nextByte, qint64 downloaded)
{
    state->SetAlreadyDownloaded(downloaded);
    state->SetStartByte(rangeNumber, nextByte);
    return state->SyncProgress();
}

bool gSaveChunks(ResumeState *state, const ResumePoint &start, int saves)
{
    const qint64 chunk = packageSize / ResumeState::rangeCount / (saves + 1);
    for (int save = 0; save < saves; ++save) {
        const int index = save % ResumeState::rangeCount;
        const qint64 nextByte = start.ranges.at(static_cast<size_t>(index)).start + save * chunk;
        if (!gSaveChunk(state, index + 1, nextByte, save * chunk)) {
            return false;
        }
    }
    return true;
}
} // namespace

int main(int argc, char *argv[])
{
    constexpr double nanosecondsPerMicrosecond = 1e3;
    constexpr double microsecondsPerSecond = 1e6;

    const QCoreApplication application(argc, argv);
    QCommandLineParser parser;
    const QCommandLineOption folder(QStringLiteral("dir"), {}, QStringLiteral("D"));
    const QCommandLineOption count(QStringLiteral("saves"), {}, QStringLiteral("N"));
    parser.addOptions({folder, count});
    const bool isParsed = parser.parse(QCoreApplication::arguments());
    const int saves = parser.value(count).toInt();
    if (!isParsed || !parser.isSet(folder) || saves <= 0) {
        std::cerr << "usage: state-timing --dir D --saves N\n";
        return 2;
    }
    ResumeState state(parser.value(folder));
    const ResumePoint start = gFreshStart(packageSize);
    const DownloadIdentity identity{QStringLiteral("2049-262401-1700000000"),
                                    QStringLiteral("d41d8cd98f00b204e9800998ecf8427e"),
                                    QStringLiteral("9.2.0.0")};
    gSetPlan(&state, packageSize, start, gBootIdentity(), identity);
    bool isSaved = state.Sync();
    QElapsedTimer clock;
    clock.start();
    const std::clock_t before = std::clock();
    isSaved = isSaved && gSaveChunks(&state, start, saves);
    const double computed =
        static_cast<double>(std::clock() - before) * microsecondsPerSecond / CLOCKS_PER_SEC;
    const double elapsed = static_cast<double>(clock.nsecsElapsed()) / nanosecondsPerMicrosecond;
    if (!isSaved) {
        std::cerr << "state-timing: cannot write " << qUtf8Printable(state.Path()) << '\n';
        return 1;
    }
    std::printf("{\"saves\":%d,\"cpu_us_per_save\":%.3f,\"wall_us_per_save\":%.3f}\n", saves,
                computed / saves, elapsed / saves);
    return 0;
}
