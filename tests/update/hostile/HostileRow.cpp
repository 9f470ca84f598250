#include "tests/update/hostile/HostileRow.h"

#include <QtTest>

namespace
{
constexpr int limitMs = 5000;
}

void gCheckHostileDownload(const HostileRow &row, HostileWorld &world)
{
    using End = HostileWorld::End;

    FaultScript script = HostileWorld::Honest();
    row.spoil(script);
    world.Server().Play(script);
    world.Offer();
    world.PressUpdateNow();
    QTRY_VERIFY_WITH_TIMEOUT(world.Ended() != End::None, limitMs);
    // What comes after the end must not do damage either.
    QTest::qWait(50);
    QCOMPARE(world.Damage(), QString());
    QCOMPARE(world.Ended(), row.end);
    if (row.end == End::Installed) {
        QCOMPARE(gReadFile(world.Rig().Installer()), HostileWorld::Package());
    } else {
        QCOMPARE(world.Rig().HintText(), QString(row.text));
        QVERIFY(!QFile::exists(world.Rig().Installer()));
    }
    QVERIFY2(QByteArray(row.logged).isEmpty() || world.Log().CountContaining(row.logged) > 0,
             row.logged);

    QFile::remove(world.Rig().Installer());
    world.Server().Play(HostileWorld::Honest());
    world.PressUpdateNow();
    QTRY_COMPARE_WITH_TIMEOUT(world.Ended(), End::Installed, limitMs);
    QCOMPARE(gReadFile(world.Rig().Installer()), HostileWorld::Package());
    QCOMPARE(world.Damage(), QString());
}
