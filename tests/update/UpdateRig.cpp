// SPDX-License-Identifier: MIT

#include "tests/update/UpdateRig.h"

#include "api/QuillonInit.h"
#include "api/UpdateInit.h"
#include "tests/support/IniText.h"
#include "update/base/BackgroundFlush.h"
#include "update/base/DownloadState.h"
#include "update/UpdateCommon/UpdateEventReport.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QLabel>
#include <QNetworkReply>
#include <QPushButton>
#include <QSettings>
#include <QThreadPool>

UpdateRig::UpdateRig()
    : m_places(m_folder.path())
    , m_answerer([this](QWidget *box) { AnswerBox(box); })
{
    qRegisterMetaType<QNetworkReply *>();
    QDir().mkpath(ConfigFolder());
    QDir().mkpath(PrivateFolder());
    m_system.privateFolder = [folder = PrivateFolder()](QString * /*failure*/) { return folder; };
    QuillonInit::SetConfigFileDir(ConfigFolder());
    WriteSetting(QLatin1String(ProductSettings::statisticsHostKey), QStringLiteral("127.0.0.1:1"));
    UpdateInit::SetUpdateVersion(QStringLiteral("9.1.0.0"));
    UpdateInit::SetUpdateUrl(m_server.Address(QStringLiteral("/check?pid=&version=&email=")));
    gDownloadState() = DownloadState();
}

UpdateRig::~UpdateRig()
{
    m_manager.reset();
    gFlushPool()->waitForDone();
    // The next function of the test must not receive this one's reports.
    gSettleReports();
}

QString UpdateRig::StateFile() const
{
    return ConfigFolder() + QStringLiteral("/CvBreakResumeDownLoad.ini");
}

void UpdateRig::BlockWorkingFolder() const
{
    gWriteFile(Path(QStringLiteral("blocker")), "a file where a folder is needed");
    SystemPlaces::PutDocuments(Path(QStringLiteral("blocker/data")));
}

UpdateContext UpdateRig::Context() const
{
    return {m_system, gDownloadState(), gProcessReports(ConfigFolder()), ConfigFolder(),
            m_publicKeys};
}

LiveUpdateMgr &UpdateRig::Build()
{
    m_manager =
        std::make_unique<LiveUpdateMgr>(&m_progress, &m_version, &m_hint, Context(), nullptr);
    LiveUpdateMgr *manager = m_manager.get();
    const auto note = [this, manager](void (LiveUpdateMgr::*signal)(), const char *name) {
        QObject::connect(manager, signal, manager,
                         [this, name] { m_signals.append(QLatin1String(name)); });
    };
    note(&LiveUpdateMgr::Close, "Close");
    note(&LiveUpdateMgr::BeginInstall, "BeginInstall");
    note(&LiveUpdateMgr::CancelInstall, "CancelInstall");
    note(&LiveUpdateMgr::InstallStarted, "InstallStarted");
    note(&LiveUpdateMgr::RemindMeLater, "RemindMeLater");
    QObject::connect(manager, &LiveUpdateMgr::SetCurrentWidget, manager, [this](QWidget *page) {
        m_pages.append(page == &m_progress  ? QStringLiteral("progress")
                       : page == &m_version ? QStringLiteral("version")
                       : page == &m_hint    ? QStringLiteral("hint")
                                            : QStringLiteral("unknown"));
    });
    return *m_manager;
}

void UpdateRig::Offer(const QString &path, const QString &moreElements)
{
    m_manager->findChild<VersionInfo *>()->setXml(Manifest(m_server.Address(path), moreElements));
}

QString UpdateRig::Manifest(const QString &exeUrl, const QString &moreElements)
{
    return QStringLiteral("<Update><ExeUrl_x64>%1</ExeUrl_x64><WhatNews><Item>"
                          "<Version>9.2.0.0</Version><Text>&lt;li&gt;Faster&lt;/li&gt;</Text>"
                          "</Item></WhatNews>%2</Update>")
        .arg(exeUrl, moreElements);
}

void UpdateRig::StartFullDownload(const HttpAnswer &answer)
{
    m_server.Serve("/files/setup.exe", answer);
    if (!m_manager) {
        Build();
    }
    Offer(QStringLiteral("/files/setup.exe"));
    m_manager->UpdateNow();
    SettlePlan();
}

void UpdateRig::SettlePlan()
{
    // The new file, the state, the rename, the state with another identity, the folder.
    constexpr int steps = 5;

    for (int step = 0; step < steps; ++step) {
        gFlushPool()->waitForDone();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::FutureCallOut);
    }
}

void UpdateRig::WriteState(const QString &packageSize, const QString &alreadyDownloaded,
                           const std::array<std::pair<qint64, qint64>, 5> &ranges) const
{
    QByteArray text =
        "[FullPackage_size]\nFullPackage_size=" + packageSize.toLatin1() +
        "\n\n[AlreadyDownload_size]\nAlreadyDownload_size=" + alreadyDownloaded.toLatin1() +
        "\n\n[DownLoad_Tasks]\n";
    int number = 0;
    for (const auto &[start, end] : ranges) {
        const QByteArray suffix = QByteArray::number(++number) + '=';
        text += "Start_Byte" + suffix + QByteArray::number(start) + '\n';
        text += "End_Byte" + suffix + QByteArray::number(end) + '\n';
    }
    gWriteFile(StateFile(), text);
}

QMap<QString, QString> UpdateRig::State() const
{
    return gReadIniText(StateFile());
}

void UpdateRig::SendReportsTo(const StatisticsServer &server) const
{
    WriteSetting(QLatin1String(ProductSettings::statisticsHostKey), server.Host());
}

void UpdateRig::WriteSetting(const QString &key, const QString &value) const
{
    QSettings settings(SettingsFile(), QSettings::IniFormat);
    settings.setValue(QStringLiteral("Quillon/") + key, value);
    settings.sync();
}

QString UpdateRig::Setting(const QString &key) const
{
    return QSettings(SettingsFile(), QSettings::IniFormat)
        .value(QStringLiteral("Quillon/") + key)
        .toString();
}

void UpdateRig::Forget()
{
    m_pages.clear();
    m_signals.clear();
    m_server.ForgetRequests();
}

QString UpdateRig::ProgressText() const
{
    return m_progress.findChild<QLabel *>(QStringLiteral("UpdateProgressLabel"))->text();
}

QString UpdateRig::HintText() const
{
    return m_hint.findChild<QLabel *>()->text();
}

QString UpdateRig::VersionText() const
{
    return m_version.findChild<QLabel *>(QStringLiteral("VersionDisplay_VersionLabel"))->text();
}

bool UpdateRig::CloseOffered() const
{
    return m_progress.findChild<QPushButton *>()->isVisibleTo(&m_progress);
}

bool UpdateRig::BoxSaid(const QString &title, const QString &text) const
{
    return m_boxTexts.contains(title) && m_boxTexts.contains(text);
}

void UpdateRig::AnswerBox(QWidget *box)
{
    m_boxTexts = QStringList{box->windowTitle()};
    const QList<QLabel *> labels = box->findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        m_boxTexts.append(label->text());
    }
    switch (m_answer) {
    case Answer::Yes:
        BoxAnswerer::Press(QStringLiteral("CvMessageBox_YesBtn"))(box);
        break;
    case Answer::Cancel:
        BoxAnswerer::Press(QStringLiteral("CvMessageBox_CancelBtn"))(box);
        break;
    case Answer::CloseBox:
        BoxAnswerer::CloseBox()(box);
        break;
    }
}

void gSettleReports()
{
    for (int attempt = 0; attempt < 20; ++attempt) {
        UpdateEventReport::GetInstance()->WaitForReports();
        // The outcome of the attempt, which starts the next one.
        QCoreApplication::processEvents();
    }
}

QStringList gRangeHeaders(const HttpServer &server)
{
    QStringList ranges;
    const QList<HttpRequest> requests = server.Requests("GET");
    for (const HttpRequest &request : requests) {
        ranges.append(QString::fromLatin1(request.headers.value("range", "-")));
    }
    ranges.sort();
    return ranges;
}
