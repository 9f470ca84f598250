// SPDX-License-Identifier: MIT

#include "tests/update/UpdateRig.h"

#include <QDir>
#include <QtTest>

/// The thread of the watchdog, counted among the threads of this process.
class tst_DownloadMgr_Watchdog_unix : public QObject
{
    Q_OBJECT

private slots:
    void a_downloader_that_has_not_started_has_no_watchdog();
    void a_deleted_downloader_ends_its_watchdog();

private:
    static int Threads()
    {
        return QDir("/proc/self/task").entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
    }
};

void tst_DownloadMgr_Watchdog_unix::a_downloader_that_has_not_started_has_no_watchdog()
{
    UpdateRig rig;
    rig.Build(); // Qt starts threads of its own with the first network manager, and keeps them.
    rig.Destroy();
    const int before = Threads();
    rig.Build();
    QCOMPARE(Threads(), before);
}

void tst_DownloadMgr_Watchdog_unix::a_deleted_downloader_ends_its_watchdog()
{
    UpdateRig rig;
    const int before = Threads();
    auto downloader = std::make_unique<DownloadMgr>(rig.Context(), nullptr);
    downloader->ResumeDownload(rig.Target(), QUrl("http://127.0.0.1:1/setup.exe"), rig.Installer(),
                               0, 9, 1, false, QString(), QString());
    QVERIFY(Threads() > before);
    downloader.reset();
    QTRY_COMPARE(Threads(), before);
}

QTEST_MAIN(tst_DownloadMgr_Watchdog_unix)
#include "tst_DownloadMgr_Watchdog_unix.moc"
