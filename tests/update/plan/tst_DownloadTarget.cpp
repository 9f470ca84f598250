// SPDX-License-Identifier: MIT

#include "update/plan/DownloadTarget.h"

#include "tests/support/OccupiedBytes.h"
#include "tests/support/SystemTraits.h"
#include "tests/support/TestFiles.h"
#include "tests/update/UpdateRig.h"
#include "update/plan/PackageOffer.h"

#include <QtTest>

/// Which file a package is written into. The manifest chooses the name, never the folder.
class tst_DownloadTarget : public QObject
{
    Q_OBJECT

private slots:
    void the_installer_gets_the_last_part_of_the_address_data();
    void the_installer_gets_the_last_part_of_the_address();
    void a_full_package_has_a_file_of_its_own();
    void an_incremental_package_keeps_its_name();
    void an_empty_file_has_its_size_and_takes_no_room();
};

void tst_DownloadTarget::the_installer_gets_the_last_part_of_the_address_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("name");
    QTest::newRow("behind_a_slash") << "https://u.example/files/setup.exe"
                                    << "setup.exe";
    QTest::newRow("behind_the_last_one") << "https://u.example/a\\b/setup.exe"
                                         << "setup.exe";
    QTest::newRow("a_backslash_is_none") << "https://u.example/..\\setup.exe"
                                         << "..\\setup.exe";
    QTest::newRow("a_folder_has_no_name") << "https://u.example/files/"
                                          << "";
    QTest::newRow("a_bare_name") << "setup.exe"
                                 << "setup.exe";
}

void tst_DownloadTarget::the_installer_gets_the_last_part_of_the_address()
{
    QFETCH(QString, address);
    QFETCH(QString, name);
    const UpdateRig rig;
    PackageOffer offer;
    offer.fullUrl = address;
    QCOMPARE(gDownloadTarget(offer, false).installerPath, rig.WorkingFolder() + '/' + name);
}

void tst_DownloadTarget::a_full_package_has_a_file_of_its_own()
{
    const UpdateRig rig;
    PackageOffer offer;
    offer.fullUrl = "https://u.example/files/setup.exe";
    offer.incrementalMd5 = "0123";
    const DownloadTarget target = gDownloadTarget(offer, false);
    QCOMPARE(target.url, QUrl("https://u.example/files/setup.exe"));
    QCOMPARE(target.path, rig.Target());
    QVERIFY(target.expectedMd5.isEmpty());
    QVERIFY(!target.isIncremental);
}

void tst_DownloadTarget::an_incremental_package_keeps_its_name()
{
    const UpdateRig rig;
    PackageOffer offer;
    offer.fullUrl = "https://u.example/files/setup.exe";
    offer.incrementalUrl = "https://u.example/patches/increase.patch";
    offer.incrementalMd5 = "0123";
    const DownloadTarget target = gDownloadTarget(offer, true);
    QCOMPARE(target.path, rig.WorkingFolder() + "/increase.patch");
    QCOMPARE(target.installerPath, rig.WorkingFolder() + "/setup.exe");
    QCOMPARE(target.expectedMd5, QStringLiteral("0123"));
    QVERIFY(target.isIncremental);
}

void tst_DownloadTarget::an_empty_file_has_its_size_and_takes_no_room()
{
    constexpr qint64 mebibyte = 1 << 20;
    const UpdateRig rig;
    QVERIFY(gWriteFile(rig.Target(), "an older file"));
    gCreateEmptyFile(rig.Target(), 512 * mebibyte);
    QCOMPARE(QFileInfo(rig.Target()).size(), 512 * mebibyte);
    if (!gMakesSparseFiles()) {
        QSKIP("this system has no sparse files");
    }
    QVERIFY(gOccupiedBytes(rig.Target()) < mebibyte);

    // The first write of the last range does not fill what is in front of it.
    QFile target(rig.Target());
    QVERIFY(target.open(QIODevice::ReadWrite));
    QVERIFY(target.seek(512 * mebibyte - 1));
    QCOMPARE(target.write("x"), qint64{1});
    target.close();
    QCOMPARE(QFileInfo(rig.Target()).size(), 512 * mebibyte);
    QVERIFY(gOccupiedBytes(rig.Target()) < mebibyte);
}

QTEST_MAIN(tst_DownloadTarget)
#include "tst_DownloadTarget.moc"
