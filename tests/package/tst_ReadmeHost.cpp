// SPDX-License-Identifier: MIT

#include "api/ProductSettings.h"
#include "tests/support/BoxAnswerer.h"
#include "tests/support/HttpServer.h"
#include "tests/support/StandIn.h"
#include "tests/support/SystemPlaces.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <array>
#include <functional>
#include <memory>
#include <utility>

namespace
{
constexpr int neverEnded = 17;
constexpr char newerInstaller[] = "http://127.0.0.1/Corvina9.exe";

/// What one run of the host meets: an update service, and a user who answers the message boxes and
/// closes the windows once nothing is left to wait for.
///
/// A server needs an application object, which the host makes: so this comes with it and goes with it.
class Surroundings
{
public:
    /// @param installer address of the installer that the service offers; empty: no newer version
    /// @param button    object name of the button that the user presses
    Surroundings(const QByteArray &installer, const QString &button)
        : m_boxes(BoxAnswerer::Press(button))
    {
        m_service.Serve("/check",
                        HttpAnswer::Body("<Update><ExeUrl_x64>" + installer +
                                         "</ExeUrl_x64><WhatNews><Item><Version>9.2.0.0</Version>"
                                         "<Text>faster</Text></Item></WhatNews></Update>"));
        constexpr int limitMs = 20000;
        QTimer::singleShot(limitMs, qApp, [] { QCoreApplication::exit(neverEnded); });
    }

    QString ServiceAddress() const { return m_service.Address("/check?pid=&version=&email="); }
    int Questions() const { return m_service.Requests("GET").size(); }
    int Answered() const { return m_boxes.Answered(); }

    void CloseTheWindowsOnce(std::function<bool(const Surroundings &)> isDone)
    {
        QObject::connect(&m_poll, &QTimer::timeout, qApp, [this, isDone = std::move(isDone)] {
            // Not from within a question, which ends before the host goes on.
            if (QApplication::activeModalWidget() == nullptr && isDone(*this)) {
                m_hasClosedTheWindows = true;
                QApplication::closeAllWindows();
            }
        });
        m_poll.start(20);
    }
    /// The host was still running when there was nothing left to do.
    bool HasClosedTheWindows() const { return m_hasClosedTheWindows; }

private:
    HttpServer m_service;
    BoxAnswerer m_boxes;
    QTimer m_poll;
    bool m_hasClosedTheWindows = false;
};

std::function<std::unique_ptr<Surroundings>()> newSurroundings;
std::unique_ptr<Surroundings> surroundings;
int questions = 0;
int answered = 0;
bool hasClosedTheWindows = false;

void gBeginRun()
{
    surroundings = newSurroundings();
    qAddPostRoutine([] {
        questions = surroundings->Questions();
        answered = surroundings->Answered();
        hasClosedTheWindows = surroundings->HasClosedTheWindows();
        surroundings.reset();
    });
}

/// What stands in the host in the place of the address that README names.
QString gServiceAddress()
{
    return surroundings->ServiceAddress();
}
} // namespace

int gReadmeMain(int argc, char *argv[]);
#define main gReadmeMain
#include "ReadmeHost.inc"
#undef main

/// The host in README, run against a service of this machine. Each test is one run of its whole `main`.
class tst_ReadmeHost : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void yes_for_a_kept_installer_starts_it_and_ends_the_host();
    void cancel_for_a_kept_installer_leaves_the_host_running();
    void without_a_newer_version_the_host_runs_until_its_window_is_closed();

private:
    void KeepInstaller() const;
    /// Runs the host until it ends. @return its exit code
    static int Run();

    QString ConfigFolder() const
    {
        return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation);
    }
    QString Mark() const { return m_folder->filePath("mark"); }
    QByteArray MarkText() const
    {
        QFile file(Mark());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    std::unique_ptr<SystemPlaces> m_places;
};

void tst_ReadmeHost::initTestCase()
{
    // Part of the path of the configuration folder, which the tests need before the host runs.
    QCoreApplication::setApplicationName("tst_ReadmeHost");
    qAddPreRoutine(gBeginRun);
}

void tst_ReadmeHost::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
    m_places = std::make_unique<SystemPlaces>(m_folder->path());
}

void tst_ReadmeHost::cleanup()
{
    // On Windows it is not in the test's own folder.
    QDir(ConfigFolder()).removeRecursively();
    m_places.reset();
    m_folder.reset();
}

void tst_ReadmeHost::KeepInstaller() const
{
    const QString installer = m_folder->filePath("kept.exe");
    QFile file(installer);
    const QByteArray bytes = StandIn::Bytes("write\t" + Mark().toUtf8() + "\tstarted");
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64{bytes.size()});
    file.close();

    QVERIFY(QDir().mkpath(ConfigFolder()));
    QSettings settings(ConfigFolder() + ProductSettings::fileName, QSettings::IniFormat);
    settings.beginGroup(ProductSettings::quillonGroup);
    settings.setValue(ProductSettings::setupFileKey, installer);
    // The host waits for its reports before it ends: nothing listens there, so they fail at once.
    settings.setValue(ProductSettings::statisticsHostKey, "127.0.0.1:9");
    settings.sync();
    QCOMPARE(settings.status(), QSettings::NoError);
}

int tst_ReadmeHost::Run()
{
    QByteArray name("host");
    std::array<char *, 2> arguments{name.data(), nullptr};
    return gReadmeMain(1, arguments.data());
}

void tst_ReadmeHost::yes_for_a_kept_installer_starts_it_and_ends_the_host()
{
    KeepInstaller();
    newSurroundings = [] {
        return std::make_unique<Surroundings>(newerInstaller, "CvMessageBox_YesBtn");
    };
    const int exitCode = Run();
    QCOMPARE(answered, 1);
    QTRY_COMPARE(MarkText(), QByteArray("started"));
    QCOMPARE(exitCode, 0);
}

void tst_ReadmeHost::cancel_for_a_kept_installer_leaves_the_host_running()
{
    KeepInstaller();
    newSurroundings = [] {
        auto world = std::make_unique<Surroundings>(newerInstaller, "CvMessageBox_CancelBtn");
        world->CloseTheWindowsOnce([](const Surroundings &now) { return now.Answered() == 1; });
        return world;
    };
    const int exitCode = Run();
    QCOMPARE(answered, 1);
    QVERIFY(hasClosedTheWindows);
    QCOMPARE(exitCode, 0);
    QVERIFY(!QFile::exists(Mark()));
}

void tst_ReadmeHost::without_a_newer_version_the_host_runs_until_its_window_is_closed()
{
    newSurroundings = [] {
        auto world = std::make_unique<Surroundings>(QByteArray(), "CvMessageBox_YesBtn");
        world->CloseTheWindowsOnce([](const Surroundings &now) { return now.Questions() == 1; });
        return world;
    };
    const int exitCode = Run();
    QCOMPARE(questions, 1);
    QCOMPARE(answered, 0);
    QVERIFY(hasClosedTheWindows);
    QCOMPARE(exitCode, 0);
}

QTEST_APPLESS_MAIN(tst_ReadmeHost)

#include "tst_ReadmeHost.moc"
