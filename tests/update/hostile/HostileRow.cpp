// SPDX-License-Identifier: MIT

#include "tests/update/hostile/HostileRow.h"

#include <QtTest>

namespace
{
constexpr int limitMs = 5000;
}

void gAddHostileRows(const QList<HostileRow> &rows)
{
    QTest::addColumn<HostileRow>("row");
    for (const HostileRow &row : rows) {
        QTest::newRow(row.sentence) << row;
    }
}

void gCheckHostileRow()
{
    QFETCH(HostileRow, row);
    HostileWorld world;
    gCheckHostileDownload(row, world);
}

void gCheckHostileDownload(const HostileRow &row, HostileWorld &world)
{
    using End = HostileWorld::End;

    FaultScript script = HostileWorld::Honest();
    row.spoil(script);
    world.Server().Play(script);
    world.Offer();
    world.PressUpdateNow();
    if (!QTest::qWaitFor([&world] { return world.Ended() != End::None; }, limitMs)) {
        QFAIL(world.Story().constData());
    }
    // Bytes that arrive after the end must not do damage either.
    QTest::qWait(50);
    // Bytes of another version may be in the target; they must not be there when it is complete.
    if (!row.otherVersion) {
        QCOMPARE(world.Damage(), QString());
    }
    QVERIFY2(world.Ended() == row.end, world.Story().constData());
    QVERIFY2(QByteArray(row.logged).isEmpty() || world.Log().CountContaining(row.logged) > 0,
             world.Story().constData());

    if (row.end == End::Installed) {
        QVERIFY(gReadFile(world.Rig().Installer()) == HostileWorld::Package());
        return;
    }
    QCOMPARE(world.Rig().HintText(), QStringLiteral("Failed to download the update."));
    QVERIFY(!QFile::exists(world.Rig().Installer()));
    world.Server().Play(HostileWorld::Honest());
    world.PressUpdateNow();
    QTRY_COMPARE_WITH_TIMEOUT(world.Ended(), End::Installed, limitMs);
    QVERIFY(gReadFile(world.Rig().Installer()) == HostileWorld::Package());
    QCOMPARE(world.Damage(), QString());
}
