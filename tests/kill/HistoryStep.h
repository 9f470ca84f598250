// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

class QRandomGenerator;

/// One step of a history: what happens before a session of the host program, and the session.
struct HistoryStep {
    /// The package that is published.
    enum class Change { None, SameSize, OtherSize, OtherVersion, Count };

    /// The files of the account, while no host runs.
    enum class Files {
        Untouched,
        TargetDeleted,
        /// To another name in its folder.
        TargetMoved,
        /// The one that was moved last comes back, in the place of what is there by then.
        TargetReturned,
        /// Another program writes into the beginning of it.
        TargetDamaged,
        /// The newest installer is deleted.
        InstallerDeleted,
        Count,
        /// Only in scripts: a state that no session leaves behind. Every range is complete, while the
        /// total says less.
        RangesComplete
    };

    /// What the host meets in the network during its session.
    enum class Network {
        InOrder,
        /// Every address answers with a page.
        Portal,
        /// The same from the moment when the check has been answered.
        PortalAfterCheck,
        /// The first requests of ranges are answered with a page, the later ones with the package.
        PortalForAWhile,
        /// Every connection is reset.
        Lost,
        LostAfterCheck,
        /// The first answers are reset within their bodies.
        LostForAWhile,
        Count,
        // A host that is not stopped takes half a minute to give these up.
        PortalAfterSize,
        LostAfterSize
    };

    /// How the session ends, if it has not ended by itself.
    enum class Stop {
        /// The user answers Yes to the question.
        None,
        /// The user answers Cancel to it.
        PutOff,
        /// The user closes the progress page, or the dialog, when some bytes are there.
        Close,
        CloseByTitleBar,
        KillAtBytes,
        KillAfterTime,
        /// While the question is shown.
        KillAtPrompt,
        Count
    };

    int account = 0;
    Change change = Change::None;
    Files files = Files::Untouched;
    Network network = Network::InOrder;
    Stop stop = Stop::None;
    /// The part of the package at which the session is stopped, or at which the network is lost.
    int percent = 50;
    /// The moment at which the session is killed.
    int milliseconds = 0;

    static HistoryStep Draw(QRandomGenerator *random, int accounts);

    bool IsClosed() const { return stop == Stop::Close || stop == Stop::CloseByTitleBar; }
    QString Text() const;
};
