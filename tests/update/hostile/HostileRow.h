// SPDX-License-Identifier: MIT

#pragma once

#include "tests/update/hostile/HostileWorld.h"

#include <QList>
#include <QMetaType>

#include <functional>

/// One way in which a server misbehaves, and what has to follow.
struct HostileRow {
    /// Changes the script of a server that is in order.
    using Spoil = std::function<void(FaultScript &)>;

    /// What is wrong.
    const char *sentence = "";
    Spoil spoil;
    HostileWorld::End end = HostileWorld::End::Told;
    /// A text in some line of the log that tells an operator what was wrong.
    const char *logged = "";
    /// Two versions of the package were served; the module cannot tell which one is meant.
    bool otherVersion = false;
};
Q_DECLARE_METATYPE(HostileRow)

/// The ends, as rows name them.
constexpr auto installed = HostileWorld::End::Installed;
constexpr auto told = HostileWorld::End::Told;

/// For the "_data" function of a test: each row becomes one of the test's, named after what is wrong.
void gAddHostileRows(const QList<HostileRow> &rows);
/// For the test itself: checks the present row against a server of its own.
void gCheckHostileRow();

/// An update from a server that does what @p row says ends in time, as the row says, and without
/// damage. If the user was told of a failure, the server is put in order, and the next "Update Now"
/// installs the right bytes.
void gCheckHostileDownload(const HostileRow &row, HostileWorld &world);
