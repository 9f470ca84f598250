// SPDX-License-Identifier: MIT

#include "update/plan/ResumeState.h"

#include "platform/FileIdentity.h"
#include "tests/support/IniText.h"
#include "tests/update/UpdateRig.h"

#include <QElapsedTimer>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>

class tst_ResumeState : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void every_value_stands_in_its_group_as_text();
    void what_was_written_is_read_back_by_a_new_object();
    void a_text_is_read_back_data();
    void a_text_is_read_back();
    void a_text_of_several_lines_spoils_no_other_value();
    void a_missing_file_reads_as_zeros();
    void a_number_on_disk_is_read_as_data();
    void a_number_on_disk_is_read_as();
    void a_number_above32_bits_is_written_whole_and_read_as_its_low_bits();
    void two_objects_on_one_file_share_what_is_not_on_disk_yet();
    void writing_one_value_leaves_the_others();
    void the_settings_class_reads_the_file();
    void a_chunk_changes_one_sector_of_the_same_file();
    void a_flush_leaves_the_sector_of_the_chunks();
    void a_state_of_another_layout_becomes_a_new_file();
    void the_values_of_a_running_plan_are_not_read_anew();
    void what_is_not_waited_for_is_read_anew();
    void sync_reports_a_folder_that_cannot_be_written();
    void a_leftover_lock_holds_nothing_up_data();
    void a_leftover_lock_holds_nothing_up();

private:
    QString File() const { return m_folder->filePath("CvBreakResumeDownLoad.ini"); }

    static void Plan(ResumeState *state);

    static constexpr int sectorSize = 512;

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_ResumeState::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void tst_ResumeState::every_value_stands_in_its_group_as_text()
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

void tst_ResumeState::what_was_written_is_read_back_by_a_new_object()
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

void tst_ResumeState::a_text_is_read_back_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("with_quotation_marks") << QString("W/\"5f-1\"");
    QTest::newRow("with_commas_and_colons") << QString("Sat, 01 Aug 2026 10:00:00 GMT");
    QTest::newRow("with_backslashes") << QString(R"("a\b\")");
    QTest::newRow("with_what_means_something_in_the_file") << QString("\"[a]=b;c\"");
    QTest::newRow("with_blanks_at_its_ends") << QString(" a b ");
    QTest::newRow("with_letters_beyond_ascii") << QString("\"gr\u00fc\u00df\"");
    QTest::newRow("of_digits") << QString("0012");
}

void tst_ResumeState::a_text_is_read_back()
{
    QFETCH(QString, text);
    {
        ResumeState state(m_folder->path());
        state.SetBootId(text);
        state.SetPackageSize(7);
        QVERIFY(state.Sync());
    }
    // A copy under another path: objects on the same file share its values.
    QTemporaryDir other;
    QVERIFY(QFile::copy(File(), other.filePath("CvBreakResumeDownLoad.ini")));
    const ResumeState state(other.path());
    QCOMPARE(state.BootId(), text);
    QCOMPARE(state.PackageSize(), 7);
}

void tst_ResumeState::a_text_of_several_lines_spoils_no_other_value()
{
    {
        ResumeState state(m_folder->path());
        state.SetBootId("one\nFlushed_Byte1=7\r\n[FullPackage_size]\nFullPackage_size=9");
        state.SetPackageSize(1000);
        QVERIFY(state.Sync());
    }
    QTemporaryDir other;
    QVERIFY(QFile::copy(File(), other.filePath("CvBreakResumeDownLoad.ini")));
    const ResumeState state(other.path());
    QCOMPARE(state.PackageSize(), 1000);
    QCOMPARE(state.FlushedByte(1), 0);
    QVERIFY(state.BootId().startsWith("one "));
}

void tst_ResumeState::a_missing_file_reads_as_zeros()
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

void tst_ResumeState::a_number_on_disk_is_read_as_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<qint32>("expected");
    QTest::newRow("itself") << QByteArray("123") << 123;
    QTest::newRow("itself_quoted") << QByteArray("\"123\"") << 123;
    QTest::newRow("itself_negative") << QByteArray("-1") << -1;
    QTest::newRow("the_largest_32_bit_number") << QByteArray("2147483647") << 2147483647;
    QTest::newRow("its_low_32_bits_when_it_does_not_fit")
        << QByteArray("2147483648") << std::numeric_limits<qint32>::min();
    QTest::newRow("zero_when_it_is_no_number") << QByteArray("many") << 0;
    QTest::newRow("zero_when_it_is_empty") << QByteArray() << 0;
}

void tst_ResumeState::a_number_on_disk_is_read_as()
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

void tst_ResumeState::a_number_above32_bits_is_written_whole_and_read_as_its_low_bits()
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

void tst_ResumeState::two_objects_on_one_file_share_what_is_not_on_disk_yet()
{
    ResumeState writer(m_folder->path());
    const ResumeState reader(m_folder->path());
    writer.SetStartByte(4, 4711);
    QCOMPARE(reader.StartByte(4), 4711);
}

void tst_ResumeState::writing_one_value_leaves_the_others()
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

void tst_ResumeState::Plan(ResumeState *state)
{
    state->SetPackageSize(2000000000);
    state->SetBootId("{a boot}, with more");
    state->SetIdentity({"a file", "0123456789abcdef0123456789abcdef", "9.2.0.0"});
    for (int number = 1; number <= ResumeState::rangeCount; ++number) {
        state->SetStartByte(number, (number - 1) * qint64(400000000));
        state->SetFlushedByte(number, (number - 1) * qint64(400000000));
        state->SetEndByte(number, number * qint64(400000000) - 1);
    }
}

void tst_ResumeState::the_settings_class_reads_the_file()
{
    ResumeState state(m_folder->path());
    Plan(&state);
    QVERIFY(state.Sync());
    state.SetStartByte(5, 1999999999);
    state.SetAlreadyDownloaded(1234567890);
    QVERIFY(state.SyncProgress());
    const QSettings settings(File(), QSettings::IniFormat);
    QCOMPARE(settings.allKeys().size(), 21);
    QCOMPARE(settings.value("DownLoad_Tasks/Start_Byte5").toInt(), 1999999999);
    QCOMPARE(settings.value("DownLoad_Tasks/Start_Byte1").toInt(), 0);
    QCOMPARE(settings.value("AlreadyDownload_size/AlreadyDownload_size").toString(),
             QStringLiteral("1234567890"));
    QCOMPARE(settings.value("Flushed/Boot_Id").toString(), QStringLiteral("{a boot}, with more"));
    QCOMPARE(settings.value("FullPackage_size/FullPackage_size").toInt(), 2000000000);
    QCOMPARE(settings.value("Identity/Package_Version").toString(), QStringLiteral("9.2.0.0"));
}

void tst_ResumeState::a_chunk_changes_one_sector_of_the_same_file()
{
    ResumeState state(m_folder->path());
    Plan(&state);
    QVERIFY(state.Sync());
    const QByteArray before = gReadFile(File());
    const QString identity = gFileIdentity(File());
    state.SetStartByte(3, 1199999999);
    state.SetAlreadyDownloaded(400000000);
    QVERIFY(state.SyncProgress());
    const QByteArray behind = gReadFile(File());
    QVERIFY(behind.left(sectorSize) != before.left(sectorSize));
    QCOMPARE(behind.mid(sectorSize), before.mid(sectorSize));
    QCOMPARE(gFileIdentity(File()), identity);
}

void tst_ResumeState::a_flush_leaves_the_sector_of_the_chunks()
{
    ResumeState state(m_folder->path());
    Plan(&state);
    QVERIFY(state.Sync());
    const QByteArray before = gReadFile(File());
    const QString identity = gFileIdentity(File());
    state.SetFlushedByte(3, 1199999999);
    QVERIFY(state.Sync());
    const QByteArray behind = gReadFile(File());
    QCOMPARE(behind.left(sectorSize), before.left(sectorSize));
    QVERIFY(behind.mid(sectorSize, sectorSize) != before.mid(sectorSize, sectorSize));
    QCOMPARE(behind.mid(2 * sectorSize), before.mid(2 * sectorSize));
    QCOMPARE(gFileIdentity(File()), identity);
}

void tst_ResumeState::a_state_of_another_layout_becomes_a_new_file()
{
    QVERIFY(gWriteFile(File(), "[DownLoad_Tasks]\nStart_Byte1=1\n"));
    ResumeState state(m_folder->path());
    state.SetStartByte(1, 22);
    QVERIFY(state.SyncProgress());
    QCOMPARE(gReadFile(File()).size() % sectorSize, 0);
    QCOMPARE(gReadIniText(File()).value("DownLoad_Tasks/Start_Byte1"), QStringLiteral("22"));
}

void tst_ResumeState::the_values_of_a_running_plan_are_not_read_anew()
{
    ResumeState state(m_folder->path());
    Plan(&state);
    QVERIFY(state.Sync());
    QVERIFY(gWriteFile(File(), QByteArray())); // what reads as if it could not be opened
    const ResumeState ofAnotherDialog(m_folder->path());
    QCOMPARE(ofAnotherDialog.PackageSize(), 2000000000);
    QVERIFY(state.Sync());
    QCOMPARE(gReadIniText(File()).value("FullPackage_size/FullPackage_size"),
             QStringLiteral("2000000000"));
    QVERIFY(gWriteFile(File(), "[FullPackage_size]\nFullPackage_size=7\n"));
    state.Close();
    state.Reload();
    QCOMPARE(state.PackageSize(), 7);
}

void tst_ResumeState::what_is_not_waited_for_is_read_anew()
{
    QVERIFY(gWriteFile(File(), "[FullPackage_size]\nFullPackage_size=7\n"));
    ResumeState state(m_folder->path());
    state.SetPackageSize(8);
    state.BeginReplacement();
    state.Reload();
    QCOMPARE(state.PackageSize(), 8);
    state.AbandonReplacement();
    state.Reload();
    QCOMPARE(state.PackageSize(), 7);
}

void tst_ResumeState::sync_reports_a_folder_that_cannot_be_written()
{
    QVERIFY(gWriteFile(m_folder->filePath("file"), "no folder"));
    ResumeState state(m_folder->filePath("file/below"));
    state.SetPackageSize(1);
    QVERIFY(!state.Sync());
}

void tst_ResumeState::a_leftover_lock_holds_nothing_up_data()
{
    QTest::addColumn<QByteArray>("lock");
    QTest::newRow("of_a_process_that_was_killed_before_it_filled_it") << QByteArray();
    QTest::newRow("of_a_process_that_is_gone")
        << "4194303\nhost\n" + QSysInfo::machineHostName().toUtf8() + '\n';
}

void tst_ResumeState::a_leftover_lock_holds_nothing_up()
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
