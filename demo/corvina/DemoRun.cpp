// SPDX-License-Identifier: MIT

#include "demo/corvina/DemoRun.h"

#include "api/QuillonInit.h"
#include "api/UpdateInit.h"
#include "api/UpdateMain.h"
#include "api/UpdateTrust.h"
#include "CvPaths.h"
#include "demo/corvina/DialogScript.h"
#include "demo/corvina/DialogWatcher.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLockFile>
#include <QSettings>
#include <QStandardPaths>
#include <QTimer>

#include <cstdlib>

namespace
{
constexpr int timedOutStatus = 3;

/// Removes the lock file @p lock when it names no process. A process that is killed between
/// creating and filling the lock of its settings leaves it empty; Qt takes such a lock for held and
/// waits 30 s for it before it writes the settings.
void gRemoveUnreadableLock(const QString &lock)
{
    qint64 owner = 0;
    QString host;
    QString application;
    if (!QLockFile(lock).getLockInfo(&owner, &host, &application)) {
        QFile::remove(lock);
    }
}

QString gCreateDirectory(const QString &chosen, QStandardPaths::StandardLocation location)
{
    const QString directory =
        chosen.isEmpty() ? QStandardPaths::writableLocation(location) : chosen;
    if (!QDir().mkpath(directory)) {
        qWarning("cannot create the folder %s", qUtf8Printable(directory));
    }
    return directory;
}
} // namespace

DemoRun::DemoRun(const DemoOptions &options, const EventWriter &writer)
    : m_options(options)
    , m_writer(writer)
    , m_screenshots(options.screenshotDir)
    , m_exit(options.linger, nullptr)
    , m_window(options.productVersion)
{
    ConfigureModule();
    connect(&m_window, &DemoWindow::CheckRequested, this, &DemoRun::_CheckInteractively);
    connect(&m_exit, &ExitPolicy::Done, this, [] { QCoreApplication::exit(0); });
}

DemoRun::~DemoRun()
{
    // Before the window, its parent, deletes it: its signals must not reach this object's slots
    // after this destructor.
    delete m_dialog;
}

void DemoRun::ConfigureModule() const
{
    CvSetCorvinaDirectory(gCreateDirectory(m_options.dataDir, QStandardPaths::AppDataLocation));
    const QString configDir =
        gCreateDirectory(m_options.configDir, QStandardPaths::AppConfigLocation);
    if (!m_options.statisticsHost.isEmpty()) {
        const QString settings = configDir + QStringLiteral("/Corvina.ini");
        gRemoveUnreadableLock(settings + QStringLiteral(".lock"));
        gRemoveUnreadableLock(settings + QStringLiteral(".lock.rmlock"));
        QSettings(settings, QSettings::IniFormat)
            .setValue(QStringLiteral("Quillon/StatisticsHost"), m_options.statisticsHost);
    }
    QuillonInit::SetConfigFileDir(configDir);
    UpdateInit::SetUpdateUrl(m_options.updateUrl);
    UpdateInit::SetUpdateVersion(m_options.productVersion);
    UpdateTrust::SetPublicKeys(m_options.trustKeys);
}

void DemoRun::Start()
{
    m_window.show();
    if (m_options.timeout > 0) {
        QTimer::singleShot(m_options.timeout, this, &DemoRun::_TimedOut);
    }
    switch (m_options.check) {
    case DemoOptions::Check::None:
        break;
    case DemoOptions::Check::Silent:
        QTimer::singleShot(0, this, &DemoRun::_CheckSilently);
        break;
    case DemoOptions::Check::Interactive:
        QTimer::singleShot(0, this, &DemoRun::_CheckInteractively);
        break;
    }
}

void DemoRun::CreateDialog()
{
    // One dialog serves one offer. The previous one is closed: it is modal, so the window's menu
    // could not be used before.
    delete m_dialog;
    m_dialog = new UpdateMain(&m_window);
    auto *watcher = new DialogWatcher(m_dialog, m_dialog);
    m_script = new DialogScript(m_options, m_writer, m_screenshots, watcher);
    connect(m_script, &DialogScript::InstallAgreed, &m_exit, &ExitPolicy::InstallAgreed);
    ConnectSignals();
}

void DemoRun::ConnectSignals()
{
    connect(m_dialog, &UpdateMain::BeginInstall, this,
            [this] { SignalArrived(QStringLiteral("BeginInstall"), false); });
    connect(m_dialog, &UpdateMain::CancelInstall, this,
            [this] { SignalArrived(QStringLiteral("CancelInstall"), true); });
    connect(m_dialog, &UpdateMain::InstallStarted, this,
            [this] { SignalArrived(QStringLiteral("InstallStarted"), true); });
    connect(m_dialog, &UpdateMain::Close, this,
            [this] { SignalArrived(QStringLiteral("Close"), true); });
    connect(m_dialog, &UpdateMain::RemindMeLater, this,
            [this] { SignalArrived(QStringLiteral("RemindMeLater"), true); });
}

void DemoRun::SignalArrived(const QString &name, bool ends)
{
    m_script->Flush();
    if (ends) {
        m_script->EndDownload();
    }
    m_writer.Write(QStringLiteral("signal"), {{QStringLiteral("name"), name}});
    // A host ends itself for the running installer. The other signals end the program only when its
    // only task was one check.
    const bool installStarted = name == QLatin1String("InstallStarted");
    if (ends && (installStarted || m_options.check == DemoOptions::Check::Interactive)) {
        m_exit.SignalArrived(installStarted);
    }
}

void DemoRun::_CheckInteractively()
{
    CreateDialog();
    if (m_options.hasQueryValues) {
        m_dialog->LiveUpdate(m_options.pid, m_options.version, m_options.email);
    } else {
        m_dialog->LiveUpdate();
    }
    if (m_script != nullptr) {
        m_script->InspectNow();
    }
}

void DemoRun::_CheckSilently()
{
    UpdateMain dialog;
    QElapsedTimer clock;
    clock.start();
    const bool needUpdate = dialog.IsNeedUpdate();
    m_writer.Write(QStringLiteral("silent"), {{QStringLiteral("needUpdate"), needUpdate},
                                              {QStringLiteral("ms"), clock.elapsed()}});
    m_exit.Finish();
}

void DemoRun::_TimedOut()
{
    m_writer.Write(QStringLiteral("exit"), {{QStringLiteral("code"), timedOutStatus}});
    // Without destructors: they would close an open prompt, which counts as the answer "Cancel".
    std::_Exit(timedOutStatus);
}
