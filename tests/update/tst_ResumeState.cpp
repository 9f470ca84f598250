#include "update/ResumeState.h"

#include "tests/support/IniText.h"
#include "tests/update/UpdateRig.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

class tst_ResumeState : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void EveryValueStandsInItsGroupAsText();
    void WhatWasWrittenIsReadBackByANewObject();
    void ATextIsReadBack_data();
    void ATextIsReadBack();
    void AMissingFileReadsAsZeros();
    void ANumberOnDiskIsReadAs_data();
    void ANumberOnDiskIsReadAs();
    void ANumberAbove32BitsIsWrittenWholeAndReadAsItsLowBits();
    void TwoObjectsOnOneFileShareWhatIsNotOnDiskYet();
    void WritingOneValueLeavesTheOthers();
    void SyncReportsAFolderThatCannotBeWritten();
    void ALeftoverLockHoldsNothingUp_data();
    void ALeftoverLockHoldsNothingUp();

private:
    QString File() const { return m_folder->filePath("CvBreakResumeDownLoad.ini"); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_ResumeState::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void tst_ResumeState::EveryValueStandsInItsGroupAsText()
{
    ResumeState state(m_folder->path());
    state.SetPackageSize(1000003);
    state.SetAlreadyDownloaded(0);
    for (int number = 1; number <= ResumeState::rangeCount; ++number) {
        state.SetStartByte(number, number * 10);
        state.SetEndByte(number, number * 10 + 9);
    }
    QVERIFY(state.Sync());
    QMap<QString, QString> expected{{"FullPackage_size/FullPackage_size", "1000003"},
                                    {"AlreadyDownload_size/AlreadyDownload_size", "0"}};
    for (int number = 1; number <= 5; ++number) {
        expected.insert(QString("DownLoad_Tasks/Start_Byte%1").arg(number),
                        QString::number(number * 10));
        expected.insert(QString("DownLoad_Tasks/End_Byte%1").arg(number),
                        QString::number(number * 10 + 9));
    }
    QCOMPARE(gReadIniText(File()), expected);
}

void tst_ResumeState::WhatWasWrittenIsReadBackByANewObject()
{
    {
        ResumeState state(m_folder->path());
        state.SetPackageSize(2147483647);
        state.SetAlreadyDownloaded(77);
        state.SetStartByte(1, 0);
        state.SetEndByte(1, -1);
        state.SetStartByte(5, 400);
        state.SetEndByte(5, 500);
        QVERIFY(state.Sync());
    }
    const ResumeState state(m_folder->path());
    QCOMPARE(state.PackageSize(), 2147483647);
    QCOMPARE(state.AlreadyDownloaded(), 77);
    QCOMPARE(state.StartByte(1), 0);
    QCOMPARE(state.EndByte(1), -1);
    QCOMPARE(state.StartByte(5), 400);
    QCOMPARE(state.EndByte(5), 500);
}

void tst_ResumeState::ATextIsReadBack_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("with quotation marks") << QString("W/\"5f-1\"");
    QTest::newRow("with commas and colons") << QString("Sat, 01 Aug 2026 10:00:00 GMT");
    QTest::newRow("with backslashes") << QString(R"("a\b\")");
    QTest::newRow("with what means something in the file") << QString("\"[a]=b;c\"");
    QTest::newRow("with letters beyond ASCII") << QString("\"gr\u00fc\u00df\"");
    QTest::newRow("of digits") << QString("0012");
}

void tst_ResumeState::ATextIsReadBack()
{
    QFETCH(QString, text);
    {
        ResumeState state(m_folder->path());
        state.SetBootId(text);
        state.SetPackageSize(7);
        QVERIFY(state.Sync());
    }
    // Written anew under another name, so that nothing is remembered.
    QTemporaryDir other;
    QVERIFY(QFile::copy(File(), other.filePath("CvBreakResumeDownLoad.ini")));
    const ResumeState state(other.path());
    QCOMPARE(state.BootId(), text);
    QCOMPARE(state.PackageSize(), 7);
}

void tst_ResumeState::AMissingFileReadsAsZeros()
{
    const ResumeState state(m_folder->path());
    QCOMPARE(state.PackageSize(), 0);
    QCOMPARE(state.AlreadyDownloaded(), 0);
    for (int number = 1; number <= ResumeState::rangeCount; ++number) {
        QCOMPARE(state.StartByte(number), 0);
        QCOMPARE(state.EndByte(number), 0);
    }
    QVERIFY(!QFile::exists(File()));
}

void tst_ResumeState::ANumberOnDiskIsReadAs_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<qint32>("expected");
    QTest::newRow("itself") << QByteArray("123") << 123;
    QTest::newRow("itself, quoted") << QByteArray("\"123\"") << 123;
    QTest::newRow("itself, negative") << QByteArray("-1") << -1;
    QTest::newRow("the largest 32-bit number") << QByteArray("2147483647") << 2147483647;
    QTest::newRow("its low 32 bits when it does not fit")
        << QByteArray("2147483648") << std::numeric_limits<qint32>::min();
    QTest::newRow("zero when it is no number") << QByteArray("many") << 0;
    QTest::newRow("zero when it is empty") << QByteArray() << 0;
}

void tst_ResumeState::ANumberOnDiskIsReadAs()
{
    QFETCH(QByteArray, text);
    QFETCH(qint32, expected);
    QVERIFY(gWriteFile(File(), "[FullPackage_size]\nFullPackage_size=" + text +
                                   "\n[AlreadyDownload_size]\nAlreadyDownload_size=" + text +
                                   "\n[DownLoad_Tasks]\nStart_Byte3=" + text +
                                   "\nEnd_Byte3=" + text + '\n'));
    const ResumeState state(m_folder->path());
    QCOMPARE(state.PackageSize(), expected);
    QCOMPARE(state.AlreadyDownloaded(), expected);
    QCOMPARE(state.StartByte(3), expected);
    QCOMPARE(state.EndByte(3), expected);
}

void tst_ResumeState::ANumberAbove32BitsIsWrittenWholeAndReadAsItsLowBits()
{
    ResumeState state(m_folder->path());
    state.SetPackageSize(2147483648);
    state.SetAlreadyDownloaded(5000000000);
    state.SetStartByte(2, 2147483648);
    state.SetEndByte(2, 5000000000);
    QCOMPARE(state.PackageSize(), std::numeric_limits<qint32>::min());
    QCOMPARE(state.AlreadyDownloaded(), 705032704);
    QCOMPARE(state.StartByte(2), std::numeric_limits<qint32>::min());
    QCOMPARE(state.EndByte(2), 705032704);
    QVERIFY(state.Sync());
    QCOMPARE(gReadIniText(File()).value("FullPackage_size/FullPackage_size"),
             QStringLiteral("2147483648"));
    QCOMPARE(gReadIniText(File()).value("AlreadyDownload_size/AlreadyDownload_size"),
             QStringLiteral("5000000000"));
}

void tst_ResumeState::TwoObjectsOnOneFileShareWhatIsNotOnDiskYet()
{
    ResumeState writer(m_folder->path());
    const ResumeState reader(m_folder->path());
    writer.SetStartByte(4, 4711);
    QCOMPARE(reader.StartByte(4), 4711);
}

void tst_ResumeState::WritingOneValueLeavesTheOthers()
{
    QVERIFY(
        gWriteFile(File(), "[DownLoad_Tasks]\nStart_Byte1=1\nStart_Byte2=2\n[Other]\nKey=kept\n"));
    ResumeState state(m_folder->path());
    state.SetStartByte(2, 22);
    QVERIFY(state.Sync());
    const QMap<QString, QString> expected{{"DownLoad_Tasks/Start_Byte1", "1"},
                                          {"DownLoad_Tasks/Start_Byte2", "22"},
                                          {"Other/Key", "kept"}};
    QCOMPARE(gReadIniText(File()), expected);
}

void tst_ResumeState::SyncReportsAFolderThatCannotBeWritten()
{
    QVERIFY(gWriteFile(m_folder->filePath("file"), "no folder"));
    ResumeState state(m_folder->filePath("file/below"));
    state.SetPackageSize(1);
    QVERIFY(!state.Sync());
}

void tst_ResumeState::ALeftoverLockHoldsNothingUp_data()
{
    QTest::addColumn<QByteArray>("lock");
    QTest::newRow("of a process that was killed before it filled it") << QByteArray();
    QTest::newRow("of a process that is gone")
        << "4194303\nhost\n" + QSysInfo::machineHostName().toUtf8() + '\n';
}

void tst_ResumeState::ALeftoverLockHoldsNothingUp()
{
    QFETCH(QByteArray, lock);
    QVERIFY(gWriteFile(File() + ".lock", lock));
    QElapsedTimer timer;
    timer.start();
    ResumeState state(m_folder->path());
    state.SetPackageSize(5);
    QVERIFY(state.Sync());
    QVERIFY2(timer.elapsed() < 5000, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(gReadIniText(File()).value("FullPackage_size/FullPackage_size"), QStringLiteral("5"));
}

QTEST_GUILESS_MAIN(tst_ResumeState)
#include "tst_ResumeState.moc"
