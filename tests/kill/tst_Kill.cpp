// SPDX-License-Identifier: MIT

#include "tests/kill/CallKills.h"
#include "tests/kill/FailingCalls.h"
#include "tests/kill/FullDisk.h"
#include "tests/kill/KillScene.h"
#include "tests/kill/LostPower.h"
#include "tests/kill/MomentKills.h"

#include <QTest>

/// A few of the cases of ./dev torture.
class tst_Kill : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_tally = Tally(Tally::Talk::Failures); }

    void a_download_killed_at_a_system_call_goes_on();
    void a_download_killed_at_any_moment_goes_on();
    void a_write_that_fails_is_told_or_overcome();
    void a_full_disk_is_told();
    void a_loss_of_power_costs_what_was_not_flushed();

private:
    Tally m_tally{Tally::Talk::Failures};
};

void tst_Kill::a_download_killed_at_a_system_call_goes_on()
{
    if (!KillScene::Untraceable().isEmpty()) {
        QSKIP(KillScene::Untraceable().constData());
    }
    CallKills(&m_tally).RunShort();
    QCOMPARE(m_tally.Failures(), 0);
    QVERIFY(m_tally.Kills() > 0);
}

void tst_Kill::a_download_killed_at_any_moment_goes_on()
{
    if (!KillScene::Untraceable().isEmpty()) {
        QSKIP(KillScene::Untraceable().constData());
    }
    MomentKills(&m_tally, 2).Run(2);
    QCOMPARE(m_tally.Failures(), 0);
    QCOMPARE(m_tally.Kills(), 2);
}

void tst_Kill::a_write_that_fails_is_told_or_overcome()
{
    if (!KillScene::Untraceable().isEmpty()) {
        QSKIP(KillScene::Untraceable().constData());
    }
    FailingCalls(&m_tally).RunShort();
    QCOMPARE(m_tally.Failures(), 0);
}

void tst_Kill::a_full_disk_is_told()
{
    if (!KillScene::Untraceable().isEmpty()) {
        QSKIP(KillScene::Untraceable().constData());
    }
    const int before = m_tally.Cases();
    FullDisk(&m_tally).RunShort();
    QCOMPARE(m_tally.Failures(), 0);
    if (m_tally.Cases() == before) {
        QSKIP("A file system cannot be mounted here.");
    }
}

void tst_Kill::a_loss_of_power_costs_what_was_not_flushed()
{
    constexpr int moments = 20;

    LostPower(&m_tally, 3).Run(moments);
    QCOMPARE(m_tally.Failures(), 0);
}

QTEST_MAIN(tst_Kill)
#include "tst_Kill.moc"
