// SPDX-License-Identifier: MIT

#include "api/QuillonInit.h"
#include "tests/update/UpdateRig.h"
#include "update/UpdateCommon/UpdateEventReport.h"

#include <QApplication>
#include <QProcess>
#include <QtTest>

#include <array>
#include <cstdlib>
#include <optional>

/// A process that ends while a report is on its way: it waits for one attempt, and for neither its
/// retry nor those behind it.
class tst_UpdateEventReport_End : public QObject
{
    Q_OBJECT

private slots:
    void a_process_does_not_hang_that_ends_data();
    void a_process_does_not_hang_that_ends();
    void processes_that_end_in_the_middle_do_not_crash();
};

void tst_UpdateEventReport_End::a_process_does_not_hang_that_ends_data()
{
    QTest::addColumn<QString>("end");
    QTest::addColumn<int>("attempts");
    QTest::newRow("in_main") << "--in-main" << 1;
    QTest::newRow("with_its_second_application") << "--second-application" << 2;
    QTest::newRow("with_an_event_behind_its_application") << "--behind-the-application" << 0;
    QTest::newRow("in_the_middle") << "--in-the-middle" << 1;
}

void tst_UpdateEventReport_End::a_process_does_not_hang_that_ends()
{
    QFETCH(QString, end);
    UpdateRig rig;
    // This server waits for a request that is not encrypted, so it never answers.
    rig.WriteSetting("StatisticsHost", rig.Server().Host());
    QProcess process;
    process.start(QCoreApplication::applicationFilePath(), {end, rig.ConfigFolder()});
    QVERIFY2(process.waitForFinished(20000), "attempts of 5 s");
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
    QCOMPARE(process.exitCode(), 0);
    QTEST(rig.Server().Connections(), "attempts");
}

/// The report is on its way in the network layer, or about to be, while the process takes down what that
/// layer keeps. Several side by side come to different places of it.
void tst_UpdateEventReport_End::processes_that_end_in_the_middle_do_not_crash()
{
    UpdateRig rig;
    rig.WriteSetting("StatisticsHost", rig.Server().Host());
    std::array<QProcess, 12> processes;
    for (QProcess &process : processes) {
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(QCoreApplication::applicationFilePath(),
                      {"--in-the-middle", rig.ConfigFolder()});
    }
    for (QProcess &process : processes) {
        QVERIFY2(process.waitForFinished(60000), "attempts of 5 s");
        QVERIFY2(process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0,
                 process.readAll().constData());
    }
}

static void gReport()
{
    UpdateEventReport::GetInstance()->ReportEvent(EventSink::DownloadError);
    UpdateEventReport::GetInstance()->ReportEvent(EventSink::InstallStarted);
}

int main(int argc, char *argv[])
{
    const QByteArray end = argc > 2 && qstrncmp(argv[1], "--", 2) == 0 ? argv[1] : "";
    std::optional<QApplication> application(std::in_place, argc, argv);
    if (end.isEmpty()) {
        tst_UpdateEventReport_End test;
        return QTest::qExec(&test, argc, argv);
    }

    QuillonInit::SetConfigFileDir(QString::fromLocal8Bit(argv[2]));
    if (end == "--second-application") {
        UpdateEventReport::GetInstance()->ReportEvent(EventSink::DownloadError);
        application.reset();
        application.emplace(argc, argv);
    } else if (end == "--behind-the-application") {
        application.reset();
    }
    gReport();
    if (end == "--in-the-middle") {
        std::exit(0);
    }
    return 0;
}
#include "tst_UpdateEventReport_End.moc"
