// SPDX-License-Identifier: MIT

#include "tests/support/LogCapture.h"
#include "tests/support/Md5.h"
#include "tests/support/PeBuilder.h"
#include "tests/support/StatisticsServer.h"
#include "tests/support/SystemTraits.h"
#include "tests/support/TestBytes.h"
#include "tests/update/UpdateRig.h"
#include "update/plan/KeptInstaller.h"
#include "update/UpdateCommon/UpdateEventReport.h"

#include <QDir>
#include <QtTest>

/// Which file of a folder an incremental package applies to.
class tst_KeptInstaller : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void the_file_of_the_version_and_md5_is_found_data();
    void the_file_of_the_version_and_md5_is_found();
    void there_is_none_data();
    void there_is_none();
    void a_file_of_another_version_is_skipped_unread();
    void a_file_without_a_version_is_skipped();
    void of_two_files_of_the_version_the_second_has_the_md5();
    void nothing_behind_the_match_is_looked_at();
    void every_file_of_the_version_with_another_md5_is_reported();
    void versions_match_data();
    void versions_match();
    void versions_differ_data();
    void versions_differ();
    void the_md5_never_matches_data();
    void the_md5_never_matches();
    void a_file_that_cannot_be_opened_has_no_version();
    void a_file_that_cannot_be_opened_has_an_empty_md5_that_is_reported();
    void a_file_that_cannot_be_opened_does_not_match_an_empty_md5();

private:
    QString Folder() const { return m_rig->WorkingFolder(); }
    QString Put(const QString &name, const QByteArray &bytes) const
    {
        return gWriteFile(Folder() + '/' + name, bytes) ? Folder() + '/' + name : QString();
    }
    /// Creates @p count files and names them in the order in which the folder lists them.
    QStringList PutInOrder(int count) const;
    QStringList Log() const { return m_log->Messages("LiveUpdateMgr"); }
    QList<int> Reports()
    {
        gSettleReports();
        return m_statistics->Results();
    }

    TestCertificates m_certificates;
    std::unique_ptr<UpdateRig> m_rig;
    std::unique_ptr<StatisticsServer> m_statistics;
    std::unique_ptr<LogCapture> m_log;
};

static const QString version = "9.1.0.0";

static QByteArray gInstallerBytes(quint64 seed = 1)
{
    return PeBuilder::WithFileVersion(version).Build() + gTestBytes(3000, seed);
}

static QString gVersionLine(const QString &packVersion, const QString &currentVersion = version)
{
    return "packVersion " + packVersion + ";currentVersion = " + currentVersion;
}

static QString gMd5Line(const QString &local, const QString &expected)
{
    return "local oldpackage md5:" + local + "; update response oldpackage md5:" + expected;
}

static const QString failedLine = "Match old version md5 failed";

void tst_KeptInstaller::initTestCase()
{
    m_certificates.TrustAuthority();
}

void tst_KeptInstaller::init()
{
    m_rig = std::make_unique<UpdateRig>();
    m_statistics = std::make_unique<StatisticsServer>(m_certificates);
    m_rig->SendReportsTo(*m_statistics);
    QVERIFY(QDir().mkpath(Folder()));
    m_log = std::make_unique<LogCapture>();
}

void tst_KeptInstaller::cleanup()
{
    m_log.reset();
    m_rig.reset();
    m_statistics.reset();
}

QStringList tst_KeptInstaller::PutInOrder(int count) const
{
    for (int number = 0; number < count; ++number) {
        Put(QString("installer %1.exe").arg(number), "to be filled");
    }
    QStringList paths;
    const QFileInfoList files = QDir(Folder()).entryInfoList(QDir::Files, QDir::Unsorted);
    for (const QFileInfo &file : files) {
        paths.append(file.absoluteFilePath());
    }
    return paths;
}

void tst_KeptInstaller::the_file_of_the_version_and_md5_is_found_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("an_executable") << "Corvina9.exe" << gInstallerBytes();
    if (gHasVersionLines()) {
        QTest::newRow("a_script_with_a_version_line")
            << "Corvina9" << QByteArray("#!/bin/sh\n#FileVersion=9.1.0.0\nexit 0\n");
    }
    QTest::newRow("a_hidden_file") << ".Corvina9.exe" << gInstallerBytes();
    QTest::newRow("a_name_of_any_kind") << QString::fromUtf8("älter (1).bak") << gInstallerBytes();
}

void tst_KeptInstaller::the_file_of_the_version_and_md5_is_found()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    const QString path = Put(name, bytes);
    const QString md5 = gMd5(bytes);
    QCOMPARE(gFindKeptInstaller(Folder(), version, md5, m_rig->Context().events), path);
    const QStringList expected{gVersionLine(version), gMd5Line(md5, md5)};
    QCOMPARE(Log(), expected);
    QCOMPARE(m_log->Count("LiveUpdateMgr", "LiveUpdateMgr::UpdateNow", gMd5Line(md5, md5)), 1);
    QVERIFY(Reports().isEmpty());
}

void tst_KeptInstaller::there_is_none_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("in_an_empty_folder") << QString();
    QTest::newRow("in_a_folder_below") << "below/Corvina9.exe";
    QTest::newRow("in_the_folder_above") << "../Corvina9.exe";
}

void tst_KeptInstaller::there_is_none()
{
    QFETCH(QString, name);
    if (!name.isEmpty()) {
        QVERIFY(!Put(name, gInstallerBytes()).isEmpty());
    }
    QVERIFY(gFindKeptInstaller(Folder(), version, gMd5(gInstallerBytes()), m_rig->Context().events)
                .isEmpty());
    QCOMPARE(Log(), QStringList());
    QVERIFY(gFindKeptInstaller(m_rig->Path("missing"), version, gMd5(gInstallerBytes()),
                               m_rig->Context().events)
                .isEmpty());
    QVERIFY(Reports().isEmpty());
}

void tst_KeptInstaller::a_file_of_another_version_is_skipped_unread()
{
    const QByteArray bytes = PeBuilder::WithFileVersion("9.0.0.0").Build();
    Put("Corvina9.exe", bytes);
    QVERIFY(gFindKeptInstaller(Folder(), version, gMd5(bytes), m_rig->Context().events).isEmpty());
    QCOMPARE(Log(), QStringList{gVersionLine("9.0.0.0")});
    QVERIFY(Reports().isEmpty());
}

void tst_KeptInstaller::a_file_without_a_version_is_skipped()
{
    const QByteArray bytes = gTestBytes(5000);
    Put("notes.txt", bytes);
    QVERIFY(gFindKeptInstaller(Folder(), version, gMd5(bytes), m_rig->Context().events).isEmpty());
    QCOMPARE(Log(), QStringList{gVersionLine("")});
    QVERIFY(Reports().isEmpty());
}

void tst_KeptInstaller::of_two_files_of_the_version_the_second_has_the_md5()
{
    const QStringList paths = PutInOrder(2);
    QVERIFY(gWriteFile(paths.at(0), gInstallerBytes(1)) &&
            gWriteFile(paths.at(1), gInstallerBytes(2)));
    const QString md5 = gMd5(gInstallerBytes(2));
    UpdateEventReport::GetInstance()->SetReportInfo(version, "9.2.0.0", "ins");
    QCOMPARE(gFindKeptInstaller(Folder(), version, md5, m_rig->Context().events), paths.at(1));
    const QStringList expected{gVersionLine(version), gMd5Line(gMd5(gInstallerBytes(1)), md5),
                               failedLine, gVersionLine(version), gMd5Line(md5, md5)};
    QCOMPARE(Log(), expected);
    QCOMPARE(Reports(), QList<int>{-4});
    const QJsonObject label = m_statistics->Record(0).value("label").toObject();
    QCOMPARE(label.value("type"), QJsonValue("ins"));
    QCOMPARE(label.value("oldver"), QJsonValue(version));
}

void tst_KeptInstaller::nothing_behind_the_match_is_looked_at()
{
    const QStringList paths = PutInOrder(2);
    QVERIFY(gWriteFile(paths.at(0), gInstallerBytes(1)) &&
            gWriteFile(paths.at(1), gInstallerBytes(2)));
    QCOMPARE(
        gFindKeptInstaller(Folder(), version, gMd5(gInstallerBytes(1)), m_rig->Context().events),
        paths.at(0));
    QCOMPARE(Log().size(), 2);
    QVERIFY(Reports().isEmpty());
}

void tst_KeptInstaller::every_file_of_the_version_with_another_md5_is_reported()
{
    quint64 seed = 0;
    for (const QString &path : PutInOrder(3)) {
        QVERIFY(gWriteFile(path, gInstallerBytes(++seed)));
    }
    QVERIFY(
        gFindKeptInstaller(Folder(), version, gMd5("other"), m_rig->Context().events).isEmpty());
    QCOMPARE(Log().count(failedLine), 3);
    const QList<int> expected{-4, -4, -4};
    QCOMPARE(Reports(), expected);
}

void tst_KeptInstaller::versions_match_data()
{
    QTest::addColumn<QString>("packVersion");
    QTest::addColumn<QString>("currentVersion");
    QTest::newRow("blanks_around_the_files") << " 9.1.0.0 "
                                             << "9.1.0.0";
    QTest::newRow("blanks_around_the_hosts") << "9.1.0.0"
                                             << "\t 9.1.0.0\n";
    QTest::newRow("blanks_around_both") << "9.1.0.0  "
                                        << "  9.1.0.0";
}

void tst_KeptInstaller::versions_match()
{
    QFETCH(QString, packVersion);
    QFETCH(QString, currentVersion);
    const QByteArray bytes = PeBuilder::WithFileVersion(packVersion).Build();
    const QString path = Put("Corvina9.exe", bytes);
    QCOMPARE(gFindKeptInstaller(Folder(), currentVersion, gMd5(bytes), m_rig->Context().events),
             path);
}

void tst_KeptInstaller::versions_differ_data()
{
    QTest::addColumn<QString>("packVersion");
    QTest::addColumn<QString>("currentVersion");
    QTest::newRow("the_same_numbers_in_other_digits") << "9.1.0.01"
                                                      << "9.1.0.1";
    QTest::newRow("and_the_other_way_round") << "9.1.0.1"
                                             << "9.1.0.01";
    QTest::newRow("a_blank_within") << "9.1. 0.0"
                                    << "9.1.0.0";
    QTest::newRow("a_shorter_form") << "9.1.0"
                                    << "9.1.0.0";
    QTest::newRow("another_case") << "9.1.0.0-RC"
                                  << "9.1.0.0-rc";
}

void tst_KeptInstaller::versions_differ()
{
    QFETCH(QString, packVersion);
    QFETCH(QString, currentVersion);
    const QByteArray bytes = PeBuilder::WithFileVersion(packVersion).Build();
    Put("Corvina9.exe", bytes);
    QVERIFY(gFindKeptInstaller(Folder(), currentVersion, gMd5(bytes), m_rig->Context().events)
                .isEmpty());
    QCOMPARE(Log(), QStringList{gVersionLine(packVersion, currentVersion)});
    QVERIFY(Reports().isEmpty());
}

void tst_KeptInstaller::the_md5_never_matches_data()
{
    QTest::addColumn<QString>("expected");
    const QString md5 = gMd5(gInstallerBytes());
    QTest::newRow("in_upper_case") << md5.toUpper();
    QTest::newRow("with_a_blank_in_front") << ' ' + md5;
    QTest::newRow("with_a_line_feed_behind") << md5 + '\n';
    QTest::newRow("when_it_is_empty") << QString();
}

void tst_KeptInstaller::the_md5_never_matches()
{
    QFETCH(QString, expected);
    Put("Corvina9.exe", gInstallerBytes());
    QVERIFY(gFindKeptInstaller(Folder(), version, expected, m_rig->Context().events).isEmpty());
    QCOMPARE(Log().count(failedLine), 1);
    QCOMPARE(Reports(), QList<int>{-4});
}

/// Links a file of the kernel into @p folder that no user can read, not even root.
static bool gLinkUnreadableFile(const QString &folder)
{
    const QString unreadable = "/proc/sys/net/ipv4/route/flush";
    const QString link = folder + "/Corvina9.exe";
    return QFileInfo(unreadable).isFile() && !QFile(unreadable).open(QIODevice::ReadOnly) &&
           QFile::link(unreadable, link) && QFileInfo(link).isSymLink();
}

void tst_KeptInstaller::a_file_that_cannot_be_opened_has_no_version()
{
    if (!gLinkUnreadableFile(Folder())) {
        QSKIP("This system has no file that the superuser cannot read.");
    }
    QVERIFY(gFindKeptInstaller(Folder(), version, gMd5(""), m_rig->Context().events).isEmpty());
    QCOMPARE(Log(), QStringList{gVersionLine("")});
    QVERIFY(Reports().isEmpty());
}

void tst_KeptInstaller::a_file_that_cannot_be_opened_has_an_empty_md5_that_is_reported()
{
    if (!gLinkUnreadableFile(Folder())) {
        QSKIP("This system has no file that the superuser cannot read.");
    }
    // The empty version of the host equals that of a file without a version.
    QVERIFY(gFindKeptInstaller(Folder(), "", gMd5(""), m_rig->Context().events).isEmpty());
    const QStringList expected{gVersionLine("", ""), gMd5Line("", gMd5("")), failedLine};
    QCOMPARE(Log(), expected);
    QCOMPARE(m_log->CountContaining("file open error."), 1);
    QCOMPARE(Reports(), QList<int>{-4});
}

void tst_KeptInstaller::a_file_that_cannot_be_opened_does_not_match_an_empty_md5()
{
    if (!gLinkUnreadableFile(Folder())) {
        QSKIP("This system has no file that the superuser cannot read.");
    }
    QVERIFY(gFindKeptInstaller(Folder(), "", "", m_rig->Context().events).isEmpty());
    QCOMPARE(Log().count(failedLine), 1);
    QCOMPARE(Reports(), QList<int>{-4});
}

QTEST_MAIN(tst_KeptInstaller)
#include "tst_KeptInstaller.moc"
