// SPDX-License-Identifier: MIT

#include "tests/kill/History.h"

#include <QRandomGenerator>

#include <array>

namespace
{
using Change = HistoryStep::Change;
using Files = HistoryStep::Files;
using Network = HistoryStep::Network;
using Stop = HistoryStep::Stop;

HistoryStep gKilledAt(int percent, int account = 0)
{
    HistoryStep step;
    step.account = account;
    step.stop = Stop::KillAtBytes;
    step.percent = percent;
    return step;
}

HistoryStep gKilledAfter(int milliseconds)
{
    HistoryStep step;
    step.stop = Stop::KillAfterTime;
    step.milliseconds = milliseconds;
    return step;
}

HistoryStep gAtPrompt()
{
    HistoryStep step;
    step.stop = Stop::KillAtPrompt;
    return step;
}

HistoryStep gWith(HistoryStep step, Change change)
{
    step.change = change;
    return step;
}

HistoryStep gWith(HistoryStep step, Files files)
{
    step.files = files;
    return step;
}

HistoryStep gWith(HistoryStep step, Network network)
{
    step.network = network;
    return step;
}

History gScript(const QString &name, const QList<HistoryStep> &steps, int lastAccount = 0)
{
    History history;
    history.name = name;
    history.steps = steps;
    history.lastAccount = lastAccount;
    history.mostEndSessions = 1;
    return history;
}

/// What is damaged is noticed when the package is complete, and then fetched anew.
History gDamaged()
{
    History history = gScript("another program writes into the target",
                              {gKilledAt(60), gWith(gKilledAt(80), Files::TargetDamaged)});
    history.mostEndSessions = 2;
    return history;
}

QList<History> gQuickScripts()
{
    const HistoryStep again = gKilledAt(100);
    return {
        gScript("one account goes on inside of what another has begun",
                {gKilledAt(70), gKilledAt(20, 1)}),
        gScript("the finished state of one account with the half file of another",
                {gAtPrompt(), gKilledAt(30, 1)}),
        gScript("two accounts take turns",
                {gKilledAt(30), gKilledAt(30, 1), gKilledAt(50), gKilledAt(60, 1), gKilledAt(80)},
                1),
        gScript("a package is replaced by one of the same size",
                {gKilledAt(60), gWith(gKilledAt(80), Change::SameSize)}),
        gScript("a complete package is replaced by one of the same size",
                {gKilledAt(99), gWith(gKilledAfter(0), Change::SameSize)}),
        gScript("another version has the same size",
                {gKilledAt(60), gWith(gKilledAt(80), Change::OtherVersion)}),
        gScript("a portal in the middle",
                {gKilledAt(40), gWith(HistoryStep(), Network::Portal),
                 gWith(HistoryStep(), Network::PortalAfterCheck), gKilledAt(70)}),
        gScript("a portal between two requests of a range",
                {gKilledAt(40), gWith(HistoryStep(), Network::PortalForAWhile)}),
        gScript("all ranges are complete and the total says otherwise",
                {gKilledAt(60), gWith(gKilledAfter(0), Files::RangesComplete)}),
        gScript("a target vanishes", {gKilledAt(50), gWith(again, Files::TargetDeleted)}),
        gScript("a target vanishes and comes back",
                {gKilledAt(50), gWith(gKilledAt(20), Files::TargetMoved),
                 gWith(gKilledAfter(0), Files::TargetReturned)}),
        gDamaged(),
        gScript("a finished package vanishes",
                {gAtPrompt(), gWith(again, Files::InstallerDeleted)}),
    };
}
} // namespace

History History::Draw(quint32 seed, quint32 number)
{
    constexpr int mostSteps = 5;
    constexpr int smallestPackage = 100000;
    constexpr int largestPackage = 400000;
    constexpr int twoAccountsOneIn = 3;

    const std::array<quint32, 2> seeds{seed, number};
    QRandomGenerator random(seeds.data(), seeds.size());
    History history;
    history.name = QStringLiteral("history %1 of seed %2").arg(number).arg(seed);
    history.seed = random.generate64();
    history.packageSize = random.bounded(smallestPackage, largestPackage);
    const int users = random.bounded(twoAccountsOneIn) == 0 ? accounts : 1;
    const int count = random.bounded(1, mostSteps + 1);
    for (int step = 0; step < count; ++step) {
        history.steps.append(HistoryStep::Draw(&random, users));
    }
    history.lastAccount = random.bounded(users);
    return history;
}

QList<History> History::Scripts(bool isQuick)
{
    QList<History> scripts = gQuickScripts();
    if (!isQuick) {
        scripts.append(gScript("a portal that stays until the download is given up",
                               {gKilledAt(40), gWith(HistoryStep(), Network::PortalAfterSize)}));
        scripts.append(gScript("a network that is away until the download is given up",
                               {gKilledAt(40), gWith(HistoryStep(), Network::LostAfterSize)}));
    }
    return scripts;
}

QString History::Text() const
{
    QStringList texts;
    for (const HistoryStep &step : steps) {
        texts.append(step.Text());
    }
    return name + " (" + texts.join(" | ") + (lastAccount == 0 ? ")" : " | another account ends)");
}
