// SPDX-License-Identifier: MIT

#pragma once

#include "tests/kill/History.h"
#include "tests/kill/HistoryService.h"
#include "tests/kill/HistorySession.h"
#include "tests/kill/Publication.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// Plays one history with folders and a service of its own, and looks for what must never be: an
/// installer with other bytes than those that are published, a hang, silence, and a dead end.
///
/// Thread: any, one for each object.
class HistoryRun
{
public:
    explicit HistoryRun(const History &history);

    /// Plays the history to its end. @return the problems that are found
    QStringList Play();

    QString Text() const { return m_history.Text(); }
    int Kills() const { return m_kills; }
    int Sessions() const { return m_sessions; }
    /// Sessions that left a part of a package, and its plan.
    int Begun() const { return m_begun; }
    /// How often "Update Now" was pressed in the end.
    int EndSessions() const { return m_endSessions; }

private:
    /// The content of every installer that is there, by its name.
    using Installers = QMap<QString, QByteArray>;

    const Publication &Current() const { return m_publications.last(); }
    QString Home(int account) const;
    QString StateFile(int account) const { return Home(account) + "/CvBreakResumeDownLoad.ini"; }
    QString Packages() const { return m_folder.filePath("data/Halvard"); }
    QString Target() const { return Packages() + "/Corvina9(x64).tmp"; }

    void Publish(HistoryStep::Change change);
    void Touch(HistoryStep::Files files, int account) const;
    void DamageTarget() const;
    void CompleteRanges(int account) const;

    /// Whether the account has a plan with some of its bytes.
    bool HasBegun(int account) const;
    QStringList PlayStep(const HistoryStep &step, HistoryService::Pace pace);
    QStringList PlayEnd();
    /// The installer that the account's settings name for the next check.
    QString KeptInstaller(int account) const;
    Installers ReadInstallers() const;
    QStringList ProblemsOfInstallers(const Installers &before) const;
    QStringList ProblemsOfOffer(const HistorySession &session, const QString &kept) const;

    History m_history;
    QTemporaryDir m_folder;
    HistoryService m_service;
    QList<Publication> m_publications;
    int m_kills = 0;
    int m_sessions = 0;
    int m_begun = 0;
    int m_endSessions = 0;
    /// How the last session ended.
    bool m_hasOffered = false;
    QString m_hint;
};
