// SPDX-License-Identifier: MIT

#pragma once

#include "api/ProductSettings.h"
#include "tests/support/BoxAnswerer.h"
#include "tests/support/HttpServer.h"
#include "tests/support/StatisticsServer.h"
#include "tests/support/SystemPlaces.h"
#include "tests/support/TestFiles.h"
#include "update/base/DownloadSystem.h"
#include "update/base/UpdateContext.h"
#include "update/LiveUpdateMgr.h"
#include "update/UpdateCommon/DownloadMgr.h"
#include "update/UpdateCommon/HintDisplay.h"
#include "update/UpdateCommon/ProgressDisplay.h"
#include "update/UpdateCommon/VersionDisplay.h"

#include <QList>
#include <QMap>
#include <QProgressBar>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <array>
#include <memory>

/// What a `LiveUpdateMgr` or a `DownloadMgr` needs around it: an update service on the loopback,
/// folders of its own, the three pages, and a user who answers the message boxes.
///
/// Thread: GUI thread. Ownership: one for each test function; everything ends with it.
class UpdateRig
{
public:
    enum class Answer { Yes, Cancel, CloseBox };

    UpdateRig();
    ~UpdateRig();

    QString ConfigFolder() const { return m_folder.filePath(QStringLiteral("config")); }
    QString StateFile() const;
    QString SettingsFile() const
    {
        return ConfigFolder() + QLatin1String(ProductSettings::fileName);
    }
    QString WorkingFolder() const { return m_folder.filePath(QStringLiteral("data/Halvard")); }
    QString Target() const { return WorkingFolder() + QStringLiteral("/Corvina9(x64).tmp"); }
    /// A file of the test's own, outside the folders of the module.
    QString Path(const QString &name) const { return m_folder.filePath(name); }

    /// Makes the common documents folder impossible to create.
    void BlockWorkingFolder() const;

    /// Replaces the manager; the address template and the settings are read anew. Records its
    /// signals and its page changes.
    LiveUpdateMgr &Build();
    /// Whose signature every manager that is built from now on asks for; none for no signature at all.
    void SetPublicKeys(const QStringList &keys) { m_publicKeys = keys; }
    /// Where private copies are made.
    QString PrivateFolder() const { return Path(QStringLiteral("private")); }
    /// What every manager that is built from now on takes from the system.
    DownloadSystem &System() { return m_system; }
    /// What managers and downloaders are built with.
    UpdateContext Context() const;
    LiveUpdateMgr &Manager() { return *m_manager; }
    /// Ends the manager with all of its downloaders.
    void Destroy() { m_manager.reset(); }

    /// Gives the manager a manifest whose full package is @p path on the server.
    void Offer(const QString &path, const QString &moreElements = QString());
    static QString Manifest(const QString &exeUrl, const QString &moreElements = QString());

    /// The whole of a "Update Now": serves @p bytes as the full package "/files/setup.exe", offers
    /// it and plans.
    void StartFullDownload(const HttpAnswer &answer);
    /// Lets the pool threads end what a plan begins with. Nothing else is delivered meanwhile.
    static void SettlePlan();
    QString Installer() const { return WorkingFolder() + QStringLiteral("/setup.exe"); }

    /// Writes the resume-state file, each range as {start, end}.
    void WriteState(const QString &packageSize, const QString &alreadyDownloaded,
                    const std::array<std::pair<qint64, qint64>, 5> &ranges) const;
    QMap<QString, QString> State() const;
    /// The statistics records go to @p server, which has to outlive the rig; without this call they
    /// go to a port where nobody listens.
    void SendReportsTo(const StatisticsServer &server) const;
    void WriteSetting(const QString &key, const QString &value) const;
    QString Setting(const QString &key) const;

    /// "progress", "version" and "hint", in the order in which they became the current page.
    QStringList Pages() const { return m_pages; }
    /// The names of the manager's other signals, in order.
    QStringList Signals() const { return m_signals; }
    void Forget();

    QString ProgressText() const;
    QString HintText() const;
    QString VersionText() const;
    QProgressBar *Bar() { return m_progress.findChild<QProgressBar *>(); }
    bool CloseOffered() const;

    void SetAnswer(Answer answer) { m_answer = answer; }
    int Boxes() const { return m_answerer.Answered(); }
    /// Whether the last box had this title and this text.
    bool BoxSaid(const QString &title, const QString &text) const;

    HttpServer &Server() { return m_server; }
    ProgressDisplay &Progress() { return m_progress; }
    VersionDisplay &Version() { return m_version; }
    HintDisplay &Hint() { return m_hint; }
    int Downloaders() const { return m_manager->findChildren<DownloadMgr *>().size(); }

private:
    void AnswerBox(QWidget *box);

    QTemporaryDir m_folder;
    SystemPlaces m_places;
    DownloadSystem m_system;
    QStringList m_publicKeys;
    HttpServer m_server;
    Answer m_answer = Answer::Cancel;
    QStringList m_boxTexts;
    BoxAnswerer m_answerer;
    ProgressDisplay m_progress{nullptr};
    VersionDisplay m_version{nullptr};
    HintDisplay m_hint{nullptr};
    QStringList m_pages;
    QStringList m_signals;
    std::unique_ptr<LiveUpdateMgr> m_manager;
};

/// Ends the reports that are on their way or wait, retries included: up to twenty attempts.
void gSettleReports();

/// The Range headers of all GET requests, sorted; "-" for a request without one.
QStringList gRangeHeaders(const HttpServer &server);
