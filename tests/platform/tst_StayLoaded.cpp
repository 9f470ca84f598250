// SPDX-License-Identifier: MIT

#include "tests/support/HttpServer.h"
#include "tests/support/TestFiles.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

/// A host that unloads the library and then ends. Code of the library runs later than that: on
/// threads, in the event loop, and at the end of the application.
class tst_StayLoaded : public QObject
{
    Q_OBJECT

private slots:
    void a_host_that_unloads_the_library_goes_on_data();
    void a_host_that_unloads_the_library_goes_on();
};

void tst_StayLoaded::a_host_that_unloads_the_library_goes_on_data()
{
    QTest::addColumn<QString>("function");
    QTest::addColumn<QByteArray>("library");
    QTest::newRow("without_having_used_it") << "gDoNothing" << QByteArray("unloaded");
    QTest::newRow("with_a_report_on_its_way") << "gStartReport" << QByteArray("loaded");
    QTest::newRow("behind_a_report") << "gSendReport" << QByteArray("loaded");
    QTest::newRow("with_a_flush_on_its_way") << "gStartFlush" << QByteArray("loaded");
    QTest::newRow("behind_a_silent_check") << "gSendRequest" << QByteArray("loaded");
}

void tst_StayLoaded::a_host_that_unloads_the_library_goes_on()
{
    QFETCH(QString, function);
    QFETCH(QByteArray, library);
    // It waits for a request that is not encrypted, so it answers no report.
    const HttpServer silent;
    const QTemporaryDir folder;
    QVERIFY(gWriteFile(folder.filePath("Corvina.ini"),
                       "[Quillon]\nStatisticsHost=" + silent.Host().toUtf8() + '\n'));
    QProcess host;
    host.start(STAY_LOADED_HOST, {STAY_LOADED_LIBRARY, function, folder.path()});
    QVERIFY2(host.waitForFinished(20000), "one report of 5 s at most");
    QCOMPARE(host.exitStatus(), QProcess::NormalExit);
    QCOMPARE(host.exitCode(), 0);
    QCOMPARE(host.readAllStandardOutput().trimmed(), library);
}

QTEST_GUILESS_MAIN(tst_StayLoaded)
#include "tst_StayLoaded.moc"
