// SPDX-License-Identifier: MIT

#include "tests/kill/HistoryStep.h"

#include <QRandomGenerator>

namespace
{
constexpr int hundred = 100;
constexpr int longestMs = 1200;

/// One of the values of @p Enum behind the first one, in so many of a hundred cases; else the first.
template<typename Enum>
Enum gDrawOther(QRandomGenerator *random, int percent)
{
    const bool isOther = random->bounded(hundred) < percent;
    const int other = random->bounded(1, static_cast<int>(Enum::Count));
    return isOther ? static_cast<Enum>(other) : static_cast<Enum>(0);
}

QString gName(HistoryStep::Change change)
{
    switch (change) {
    case HistoryStep::Change::SameSize:
        return "another package of the same size";
    case HistoryStep::Change::OtherSize:
        return "another package of another size";
    case HistoryStep::Change::OtherVersion:
        return "another version";
    case HistoryStep::Change::None:
    case HistoryStep::Change::Count:
        return {};
    }
    Q_UNREACHABLE();
}

QString gName(HistoryStep::Files files)
{
    switch (files) {
    case HistoryStep::Files::TargetDeleted:
        return "target deleted";
    case HistoryStep::Files::TargetMoved:
        return "target moved away";
    case HistoryStep::Files::TargetReturned:
        return "target moved back";
    case HistoryStep::Files::TargetDamaged:
        return "target damaged";
    case HistoryStep::Files::InstallerDeleted:
        return "installer deleted";
    case HistoryStep::Files::RangesComplete:
        return "ranges complete, total not";
    case HistoryStep::Files::Untouched:
    case HistoryStep::Files::Count:
        return {};
    }
    Q_UNREACHABLE();
}

QString gName(HistoryStep::Network network)
{
    switch (network) {
    case HistoryStep::Network::Portal:
        return "portal";
    case HistoryStep::Network::PortalAfterCheck:
        return "portal after the check";
    case HistoryStep::Network::PortalForAWhile:
        return "portal for a while";
    case HistoryStep::Network::PortalAfterSize:
        return "portal after the size";
    case HistoryStep::Network::Lost:
        return "network lost";
    case HistoryStep::Network::LostAfterCheck:
        return "network lost after the check";
    case HistoryStep::Network::LostForAWhile:
        return "network lost for a while";
    case HistoryStep::Network::LostAfterSize:
        return "network lost after the size";
    case HistoryStep::Network::InOrder:
    case HistoryStep::Network::Count:
        return {};
    }
    Q_UNREACHABLE();
}

QString gName(HistoryStep::Stop stop)
{
    switch (stop) {
    case HistoryStep::Stop::None:
        return "to its end";
    case HistoryStep::Stop::PutOff:
        return "put off";
    case HistoryStep::Stop::Close:
        return "closed at %1 %";
    case HistoryStep::Stop::CloseByTitleBar:
        return "closed by the title bar at %1 %";
    case HistoryStep::Stop::KillAtBytes:
        return "killed at %1 %";
    case HistoryStep::Stop::KillAfterTime:
        return "killed after %2 ms";
    case HistoryStep::Stop::KillAtPrompt:
        return "killed at the question";
    case HistoryStep::Stop::Count:
        return {};
    }
    Q_UNREACHABLE();
}
} // namespace

HistoryStep HistoryStep::Draw(QRandomGenerator *random, int accounts)
{
    constexpr int changes = 35;
    constexpr int touched = 25;
    constexpr int disturbed = 40;
    constexpr int stopped = 90;

    HistoryStep step;
    step.account = random->bounded(accounts);
    step.change = gDrawOther<Change>(random, changes);
    step.files = gDrawOther<Files>(random, touched);
    step.network = gDrawOther<Network>(random, disturbed);
    step.stop = gDrawOther<Stop>(random, stopped);
    step.percent = random->bounded(hundred);
    step.milliseconds = random->bounded(longestMs);
    return step;
}

QString HistoryStep::Text() const
{
    QStringList words{gName(change), gName(files), gName(network),
                      gName(stop)
                          .replace("%1", QString::number(percent))
                          .replace("%2", QString::number(milliseconds))};
    words.removeAll(QString());
    return (account == 0 ? QString() : QStringLiteral("another account: ")) + words.join(", ");
}
