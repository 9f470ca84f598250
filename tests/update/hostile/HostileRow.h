// SPDX-License-Identifier: MIT

#pragma once

#include "tests/update/hostile/HostileWorld.h"

#include <QMetaType>

#include <functional>

/// A hostile server, and what has to follow.
struct HostileRow {
    /// Changes the script of a server in perfect order.
    using Spoil = std::function<void(FaultScript &)>;

    /// What is wrong.
    const char *sentence = "";
    Spoil spoil;
    HostileWorld::End end = HostileWorld::End::Told;
    /// What some line of the log contains, from which an operator can tell what it was.
    const char *logged = "";
    /// Two versions of the package were served, and nobody can know which one is meant.
    bool otherVersion = false;
};
Q_DECLARE_METATYPE(HostileRow)

/// An update from a server as spoilt as @p row says: ends in time as it says, and without damage.
/// If the user was told, the server is mended, and the next "Update Now" ends with the right bytes.
void gCheckHostileDownload(const HostileRow &row, HostileWorld &world);
