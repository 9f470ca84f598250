// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

/// How the start of an installer goes on from what the system says about it:
///
///     create ── held by another program ──► pause, and again, a few times
///       │  └─── needs an administrator ───► elevate: the system asks the user
///       ▼                                      │  └── declined ──► its code
///       0 ◄────────────────────────────────────┘
///
/// Anything else ends with its code, without a question. The calls are the system's own unless a test
/// brings others.
///
/// Thread: one thread, which stands still for at most `mostPauses` pauses and for as long as the
/// user thinks about the system's question.
struct InstallerStart {
    /// An error code of the system, 0 for success.
    using Code = quint32;

    /// A virus scanner holds a fresh file for a moment.
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
