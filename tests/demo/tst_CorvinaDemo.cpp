// SPDX-License-Identifier: MIT

#include "tests/demo/ServeProcess.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <iterator>
#include <memory>

namespace
{
constexpr int patience = 30000;

/// The JSON events that a run printed, one a line.
QList<QJsonObject> gPrintedEvents(QProcess &process)
{
    QList<QJsonObject> events;
    const QList<QByteArray> lines = process.readAllStandardOutput().trimmed().split('\n');
    for (const QByteArray &line : lines) {
        events << QJsonDocument::fromJson(line).object();
    }
    return events;
}

QString gEventName(const QJsonObject &event)
{
    return event.value(QStringLiteral("event")).toString();
}

QString gPageName(const QJsonObject &event)
{
    return gEventName(event) == QLatin1String("page")
               ? event.value(QStringLiteral("name")).toString()
               : QString();
}
} // namespace

/// What scripts rely on: the demo host's options, events and exit status. Updates by it are tested
/// in tests/e2e.
class tst_CorvinaDemo : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void wrong_usage_needs_no_display_data();
    void wrong_usage_needs_no_display();
    void tells_the_outcome_of_a_silent_check_data();
    void tells_the_outcome_of_a_silent_check();
    void ends_with_its_time_out_while_it_waits();
    void gaps_are_told_once_at_the_end_of_a_download_data();
    void gaps_are_told_once_at_the_end_of_a_download();
    void gaps_are_not_told_unasked();

private:
    void WriteFile(const QString &name, const QByteArray &content);
    /// The events of a run that takes the offered @p package; the server has "setup.run".
    QList<QJsonObject> Update(const QString &package, const QStringList &arguments);
    void Run(QProcess &process, const QStringList &arguments,
             const QString &platform = QStringLiteral("offscreen"));

    std::unique_ptr<QTemporaryDir> m_directory;
};

void tst_CorvinaDemo::init()
{
    m_directory = std::make_unique<QTemporaryDir>();
    QVERIFY(m_directory->isValid());
}

void tst_CorvinaDemo::Run(QProcess &process, const QStringList &arguments, const QString &platform)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_DATA_HOME"), m_directory->path());
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_directory->path());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), platform);
    process.setProcessEnvironment(environment);
    process.start(QStringLiteral(CORVINA_DEMO), arguments);
    QVERIFY(process.waitForFinished(patience));
    QCOMPARE(process.exitStatus(), QProcess::NormalExit);
}

void tst_CorvinaDemo::wrong_usage_needs_no_display_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("an_unknown_option") << QStringList{"--fast"};
    QTest::newRow("an_argument_that_is_no_option") << QStringList{"update"};
    QTest::newRow("an_unknown_check") << QStringList{"--check", "loud"};
    QTest::newRow("an_unknown_answer") << QStringList{"--on-version", "yes"};
    QTest::newRow("only_some_of_the_query_values")
        << QStringList{"--pid", "1", "--email", "a@b.example"};
    QTest::newRow("a_count_of_bytes_that_is_none") << QStringList{"--close-at-bytes", "half"};
    QTest::newRow("a_negative_time_out") << QStringList{"--timeout", "-1"};
    QTest::newRow("a_log_file_that_cannot_be_written") << QStringList{"--log", "/"};
    QTest::newRow("an_authority_that_is_none") << QStringList{"--ca", "/dev/null"};
}

void tst_CorvinaDemo::wrong_usage_needs_no_display()
{
    QFETCH(QStringList, arguments);
    QProcess process;
    Run(process, QStringList{"--timeout", "10"} + arguments, QStringLiteral("none"));
    QCOMPARE(process.exitCode(), 2);
    QVERIFY(process.readAllStandardError().startsWith("corvina-demo: "));
    const QList<QJsonObject> events = gPrintedEvents(process);
    QCOMPARE(events.size(), 1);
    QCOMPARE(gEventName(events.constFirst()), QStringLiteral("exit"));
    QCOMPARE(events.constFirst().value(QStringLiteral("code")).toInt(), 2);
}

void tst_CorvinaDemo::tells_the_outcome_of_a_silent_check_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<bool>("needUpdate");
    QTest::newRow("a_manifest_with_an_installer_is_an_update")
        << QByteArray("<Update><ExeUrl_x64>http://127.0.0.1/setup.run</ExeUrl_x64></Update>")
        << true;
    QTest::newRow("a_manifest_without_an_installer_is_none") << QByteArray("<Update/>") << false;
}

void tst_CorvinaDemo::tells_the_outcome_of_a_silent_check()
{
    QFETCH(QByteArray, manifest);
    QFETCH(bool, needUpdate);
    QFile file(m_directory->filePath(QStringLiteral("manifest.xml")));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write(manifest) > 0);
    file.close();
    const ServeProcess server(m_directory->path());

    QProcess process;
    Run(process, {"--update-url", server.Template().trimmed(), "--check", "silent"});
    QCOMPARE(process.exitCode(), 0);
    const QList<QJsonObject> events = gPrintedEvents(process);
    QCOMPARE(events.size(), 2);
    QCOMPARE(gEventName(events.at(0)), QStringLiteral("silent"));
    QCOMPARE(events.at(0).value(QStringLiteral("needUpdate")).toBool(!needUpdate), needUpdate);
    QCOMPARE(gEventName(events.at(1)), QStringLiteral("exit"));
    QCOMPARE(events.at(1).value(QStringLiteral("code")).toInt(-1), 0);
}

void tst_CorvinaDemo::ends_with_its_time_out_while_it_waits()
{
    // No program listens on port 9 of this machine, so the check fails and the hint page stays
    // open.
    QProcess process;
    Run(process, {"--update-url", "http://127.0.0.1:9/update?pid=&version=&email=", "--check",
                  "interactive", "--timeout", "1"});
    QCOMPARE(process.exitCode(), 3);
    const QList<QJsonObject> events = gPrintedEvents(process);
    QCOMPARE(gPageName(events.constFirst()), QStringLiteral("progress"));
    QCOMPARE(gPageName(events.at(events.size() - 2)), QStringLiteral("hint"));
    QCOMPARE(events.constLast().value(QStringLiteral("code")).toInt(), 3);
}

void tst_CorvinaDemo::WriteFile(const QString &name, const QByteArray &content)
{
    QFile file(m_directory->filePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), qint64(content.size()));
}

QList<QJsonObject> tst_CorvinaDemo::Update(const QString &package, const QStringList &arguments)
{
    QDir(m_directory->path()).mkdir(QStringLiteral("packages"));
    // Slow enough that a download can be closed before its end.
    const ServeProcess server(m_directory->path(), {"--rate", "200000"});
    WriteFile(QStringLiteral("packages/setup.run"), QByteArray(100000, 'x'));
    WriteFile(QStringLiteral("manifest.xml"),
              "<Update><ExeUrl_x64>" + server.Url("/packages/" + package).toEncoded() +
                  "</ExeUrl_x64><WhatNews><Item><Version>9.2.0.0</Version></Item></WhatNews>"
                  "</Update>");
    QProcess process;
    Run(process, QStringList{"--update-url", server.Template().trimmed(), "--check", "interactive",
                             "--on-version", "update", "--on-prompt", "cancel", "--on-hint",
                             "close", "--timeout", "20"} +
                     arguments);
    return gPrintedEvents(process);
}

void tst_CorvinaDemo::gaps_are_told_once_at_the_end_of_a_download_data()
{
    QTest::addColumn<QString>("package");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("behind");
    QTest::newRow("before_the_prompt") << "setup.run" << QStringList() << "signal"
                                       << "prompt";
    QTest::newRow("behind_the_hint")
        << "missing.run" << QStringList{"--on-hint", "wait", "--timeout", "4"} << "page"
        << "exit";
    QTest::newRow("when_it_is_closed")
        << "setup.run" << QStringList{"--close-at-bytes", "1"} << "progress"
        << "signal";
}

void tst_CorvinaDemo::gaps_are_told_once_at_the_end_of_a_download()
{
    QFETCH(QString, package);
    QFETCH(QStringList, arguments);
    const QList<QJsonObject> events = Update(package, QStringList{"--gaps"} + arguments);
    QStringList names;
    std::transform(events.begin(), events.end(), std::back_inserter(names), gEventName);
    QCOMPARE(names.count(QStringLiteral("gaps")), 1);
    const int index = names.indexOf(QStringLiteral("gaps"));
    QTEST(names.value(index - 1), "before");
    QTEST(names.value(index + 1), "behind");
    const double longest = events.at(index).value(QStringLiteral("max_ms")).toDouble();
    const double p999 = events.at(index).value(QStringLiteral("p999_ms")).toDouble();
    QVERIFY(longest > 0);
    QVERIFY(p999 <= longest);
}

void tst_CorvinaDemo::gaps_are_not_told_unasked()
{
    QStringList names;
    const QList<QJsonObject> events = Update(QStringLiteral("setup.run"), {});
    std::transform(events.begin(), events.end(), std::back_inserter(names), gEventName);
    QVERIFY(names.contains(QStringLiteral("prompt")));
    QVERIFY(!names.contains(QStringLiteral("gaps")));
}

QTEST_GUILESS_MAIN(tst_CorvinaDemo)
#include "tst_CorvinaDemo.moc"
