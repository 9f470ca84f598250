#include "tests/kill/CallKills.h"
#include "tests/kill/FailingCalls.h"
#include "tests/kill/FullDisk.h"
#include "tests/kill/LostPower.h"
#include "tests/kill/MomentKills.h"

#include <QStandardPaths>
#include <QTest>

/// A few of the cases of ./dev torture.
class tst_Kill : public QObject
{
    Q_OBJECT

private slots:
    void ADownloadKilledAtASystemCallGoesOn();
    void ADownloadKilledAtAnyMomentGoesOn();
    void AWriteThatFailsIsToldOrOvercome();
    void AFullDiskIsTold();
    void ALossOfPowerCostsWhatWasNotFlushed();

private:
    static bool CanTrace() { return !QStandardPaths::findExecutable("strace").isEmpty(); }

    Tally m_tally{Tally::Talk::Failures};
};

void tst_Kill::ADownloadKilledAtASystemCallGoesOn()
{
    if (!CanTrace()) {
        QSKIP("strace is not installed");
    }
    CallKills(&m_tally).RunShort();
    QCOMPARE(m_tally.Failures(), 0);
    QVERIFY(m_tally.Kills() > 0);
}

void tst_Kill::ADownloadKilledAtAnyMomentGoesOn()
{
    if (!CanTrace()) {
        QSKIP("strace is not installed");
    }
    MomentKills(&m_tally, 2).Run(2);
    QCOMPARE(m_tally.Failures(), 0);
}

void tst_Kill::AWriteThatFailsIsToldOrOvercome()
{
    if (!CanTrace()) {
        QSKIP("strace is not installed");
    }
    FailingCalls(&m_tally).RunShort();
    QCOMPARE(m_tally.Failures(), 0);
}

void tst_Kill::AFullDiskIsTold()
{
    if (!CanTrace()) {
        QSKIP("strace is not installed");
    }
    const int before = m_tally.Cases();
    FullDisk(&m_tally).RunShort();
    QCOMPARE(m_tally.Failures(), 0);
    if (m_tally.Cases() == before) {
        QSKIP("a file system cannot be mounted here");
    }
}

void tst_Kill::ALossOfPowerCostsWhatWasNotFlushed()
{
    constexpr int moments = 20;

    LostPower(&m_tally, 3).Run(moments);
    QCOMPARE(m_tally.Failures(), 0);
}

QTEST_MAIN(tst_Kill)
#include "tst_Kill.moc"
