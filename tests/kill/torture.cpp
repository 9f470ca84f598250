// SPDX-License-Identifier: MIT

// torture: kills downloads, makes their writes fail, and simulates losses of power.

#include "tests/kill/CallKills.h"
#include "tests/kill/FailingCalls.h"
#include "tests/kill/FullDisk.h"
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
    };
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
    parser.addOptions({quick, seed});
    parser.addPositionalArgument(QStringLiteral("parts"),
                                 QStringLiteral("calls, moments, failing, full, power; or all"),
                                 QStringLiteral("[parts...]"));
    parser.process(application);

    // Without strace no call could be killed or made to fail, and no write would be recorded.
    if (!KillScene::Untraceable().isEmpty()) {
        std::cerr << KillScene::Untraceable().constData() << std::endl;
        return 1;
    }
    const QStringList wanted = parser.positionalArguments();
    Tally tally(Tally::Talk::Progress);
    for (const Part &part : gAllParts()) {
        if (wanted.isEmpty() || wanted.contains(QLatin1String(part.name))) {
            part.run(&tally, parser.value(seed).toUInt(), parser.isSet(quick));
        }
    }
    std::cout << "all together: " << tally.Cases() << " cases, " << tally.Kills() << " kills, "
              << tally.States() << " states, " << tally.Failures() << " failures" << std::endl;
    return tally.Failures() == 0 ? 0 : 1;
}
