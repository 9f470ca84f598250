#include "tests/kill/CallKills.h"
#include "tests/kill/FailingCalls.h"
#include "tests/kill/FullDisk.h"
#include "tests/kill/LostPower.h"
#include "tests/kill/MomentKills.h"

#include <QProcess>
#include <QTest>

/// A few of the cases of ./dev torture.
class tst_Kill : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_tally = Tally(Tally::Talk::Failures); }

    void ADownloadKilledAtASystemCallGoesOn();
    void ADownloadKilledAtAnyMomentGoesOn();
    void AWriteThatFailsIsToldOrOvercome();
    void AFullDiskIsTold();
    void ALossOfPowerCostsWhatWasNotFlushed();

private:
    /// Why no host can be traced here; empty when one can.
    static QByteArray Untraceable();

    Tally m_tally{Tally::Talk::Failures};
};

QByteArray tst_Kill::Untraceable()
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    return "A program with a sanitizer in it can neither be traced nor be given a library first.";
#else
    // Not every container lets one process trace another.
    const int status = QProcess::execute("strace", {"-qq", "-o", "/dev/null", "true"});
    return status == 0 ? QByteArray() : QByteArray("No process can be traced here.");
#endif
}

void tst_Kill::ADownloadKilledAtASystemCallGoesOn()
{
    if (!Untraceable().isEmpty()) {
        QSKIP(Untraceable().constData());
    }
    CallKills(&m_tally).RunShort();
    QCOMPARE(m_tally.Failures(), 0);
    QVERIFY(m_tally.Kills() > 0);
}

void tst_Kill::ADownloadKilledAtAnyMomentGoesOn()
{
    if (!Untraceable().isEmpty()) {
        QSKIP(Untraceable().constData());
    }
    MomentKills(&m_tally, 2).Run(2);
    QCOMPARE(m_tally.Failures(), 0);
}

void tst_Kill::AWriteThatFailsIsToldOrOvercome()
{
    if (!Untraceable().isEmpty()) {
        QSKIP(Untraceable().constData());
    }
    FailingCalls(&m_tally).RunShort();
    QCOMPARE(m_tally.Failures(), 0);
}

void tst_Kill::AFullDiskIsTold()
{
    if (!Untraceable().isEmpty()) {
        QSKIP(Untraceable().constData());
    }
    const int before = m_tally.Cases();
    FullDisk(&m_tally).RunShort();
    QCOMPARE(m_tally.Failures(), 0);
    if (m_tally.Cases() == before) {
        QSKIP("A file system cannot be mounted here.");
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
