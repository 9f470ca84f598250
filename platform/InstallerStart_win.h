// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

/// The start of an installer, and what follows from each result of the system's call:
///
///     create ── held by another program ──► pause, then create again, at most `mostPauses` times
///       │  └─── needs an administrator ───► elevate: the system asks the user
///       ▼                                      │  └── declined ──► the error code of that
///       0 ◄────────────────────────────────────┘
///
/// Any other error ends the start with its code, without a question. The calls are the system's own
/// unless a test sets others.
///
/// Thread: one thread. It is blocked for at most `mostPauses` pauses, and until the user has
/// answered the system's question.
struct InstallerStart {
    /// An error code of the system, 0 for success.
    using Code = quint32;

    /// Two seconds in all: a virus scanner holds a new file open for a moment.
    static constexpr int mostPauses = 10;
    static constexpr quint32 pauseMilliseconds = 200;

    /// Starts the program at the path with the rights of this process.
    std::function<Code(const QString &)> create;
    /// Asks the user for an administrator's consent and starts the program with it.
    std::function<Code(const QString &)> elevate;
    std::function<void()> pause;

    static InstallerStart OfTheSystem();

    /// @return 0 when the program at @p path was started, and otherwise why it was not.
    Code Run(const QString &path) const;
};
