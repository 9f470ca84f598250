// SPDX-License-Identifier: MIT

// torture: kills downloads, makes their writes fail, and simulates losses of power.

#include "tests/kill/CallKills.h"
#include "tests/kill/FailingCalls.h"
#include "tests/kill/FullDisk.h"
#include "tests/kill/Histories.h"
#include "tests/kill/KillScene.h"
#include "tests/kill/LostPower.h"
#include "tests/kill/MomentKills.h"

#include <QApplication>
#include <QCommandLineParser>

#include <iostream>

namespace
{
constexpr int momentKills = 200;
constexpr int powerLosses = 2000;
constexpr quint32 drawnHistories = 500;

/// One part of the run: its name, and the function that runs all or a few of its cases.
struct Part {
    const char *name;
    std::function<void(Tally *, quint32 seed, bool isQuick)> run;
};

QList<Part> gAllParts()
{
    const auto all = [](auto &&part, bool isQuick) { isQuick ? part.RunShort() : part.RunAll(); };
    return {
        {"calls", [all](Tally *tally, quint32, bool quick) { all(CallKills(tally), quick); }},
        {"moments",
         [](Tally *tally, quint32 seed, bool quick) {
             MomentKills(tally, seed).Run(quick ? momentKills / 20 : momentKills);
         }},
        {"failing", [all](Tally *tally, quint32, bool quick) { all(FailingCalls(tally), quick); }},
        {"full", [all](Tally *tally, quint32, bool quick) { all(FullDisk(tally), quick); }},
        {"power",
         [](Tally *tally, quint32 seed, bool quick) {
             LostPower(tally, seed).Run(quick ? powerLosses / 20 : powerLosses);
         }},
        {"histories",
         [](Tally *tally, quint32 seed, bool quick) {
             Histories(tally).RunScripts(quick);
             Histories(tally).RunDrawn(seed, 1, quick ? drawnHistories / 10 : drawnHistories);
         }},
    };
}

/// Runs the parts with the names @p wanted; without a name, all.
void gRunParts(const QStringList &wanted, Tally *tally, quint32 seed, bool isQuick)
{
    for (const Part &part : gAllParts()) {
        if (wanted.isEmpty() || wanted.contains(QLatin1String(part.name))) {
            part.run(tally, seed, isQuick);
        }
    }
}
} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Kills and hinders downloads, and cuts them off by losses of power.\n"
                       "Ends with status 1 when one of them did not end as it should."));
    parser.addHelpOption();
    const QCommandLineOption quick(QStringLiteral("quick"), QStringLiteral("a few cases only"));
    const QCommandLineOption seed(QStringLiteral("seed"),
                                  QStringLiteral("what is random follows from it"),
                                  QStringLiteral("number"), QStringLiteral("1"));
    const QCommandLineOption history(QStringLiteral("history"),
                                     QStringLiteral("only this one of the histories of the seed"),
                                     QStringLiteral("number"));
    parser.addOptions({quick, seed, history});
    parser.addPositionalArgument(
        QStringLiteral("parts"),
        QStringLiteral("calls, moments, failing, full, power, histories; or all"),
        QStringLiteral("[parts...]"));
    parser.process(application);

    // Without strace no call could be killed or made to fail, and no write would be recorded.
    if (!KillScene::Untraceable().isEmpty()) {
        std::cerr << KillScene::Untraceable().constData() << std::endl;
        return 1;
    }
    const quint32 seedNumber = parser.value(seed).toUInt();
    Tally tally(Tally::Talk::Progress);
    if (parser.isSet(history)) {
        Histories(&tally).RunDrawn(seedNumber, parser.value(history).toUInt(), 1);
    } else {
        gRunParts(parser.positionalArguments(), &tally, seedNumber, parser.isSet(quick));
    }
    std::cout << "all together: " << tally.Cases() << " cases, " << tally.Kills() << " kills, "
              << tally.States() << " states, " << tally.Failures() << " failures" << std::endl;
    return tally.Failures() == 0 ? 0 : 1;
}
