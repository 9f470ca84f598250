// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/HistoryStep.h"

#include <QList>
#include <QString>

/// A series of disturbed sessions of the host program, behind which nothing is wrong any more.
struct History {
    static constexpr int accounts = 2;

    QString name;
    QList<HistoryStep> steps;
    int packageSize = 200000;
    /// The account that updates in the end.
    int lastAccount = 0;
    /// How often "Update Now" is pressed in the end until the package has to be in place.
    int mostEndSessions = 2;
    /// From which the bytes of the packages follow.
    quint64 seed = 1;

    /// The history @p number of @p seed; both together say all about it.
    static History Draw(quint32 seed, quint32 number);
    /// Histories with a fixed course, nearly all of which need "Update Now" only once in the end.
    /// @p isQuick leaves out those that take half a minute.
    static QList<History> Scripts(bool isQuick);

    QString Text() const;
};
