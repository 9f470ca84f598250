// SPDX-License-Identifier: MIT

#include "tests/kill/HistoryRun.h"

#include "tests/kill/DiskState.h"

#include "tests/support/IniText.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>

HistoryRun::HistoryRun(const History &history)
    : m_history(history)
    , m_publications{Publication::Of("9.2.0.0", history.packageSize, history.seed)}
{
    QDir().mkpath(Packages());
    for (int account = 0; account < History::accounts; ++account) {
        QDir().mkpath(Home(account));
    }
}

QString HistoryRun::Home(int account) const
{
    return m_folder.filePath("account" + QString::number(account));
}

QStringList HistoryRun::Play()
{
    QStringList problems;
    int number = 0;
    for (const HistoryStep &step : m_history.steps) {
        Publish(step.change);
        Touch(step.files, step.account);
        const QStringList found = PlayStep(step, HistoryService::Pace::Slow);
        ++number;
        for (const QString &problem : found) {
            problems.append(QStringLiteral("step %1: %2").arg(number).arg(problem));
        }
    }
    return problems + PlayEnd();
}

// --- What happens between two sessions -------------------------------------------------------------

void HistoryRun::Publish(HistoryStep::Change change)
{
    constexpr int more = 12345;

    const int size = Current().bytes.size();
    const QString version = Current().version;
    const int count = m_publications.size();
    const quint64 seed = m_history.seed + static_cast<quint64>(count);
    switch (change) {
    case HistoryStep::Change::SameSize:
        m_publications.append(Publication::Of(version, size, seed));
        break;
    case HistoryStep::Change::OtherSize:
        m_publications.append(Publication::Of(version, size + more, seed));
        break;
    case HistoryStep::Change::OtherVersion:
        m_publications.append(Publication::Of(QStringLiteral("9.3.0.%1").arg(count), size, seed));
        break;
    case HistoryStep::Change::None:
    case HistoryStep::Change::Count:
        break;
    }
}

void HistoryRun::Touch(HistoryStep::Files files, int account) const
{
    const QString away = Target() + ".away";
    switch (files) {
    case HistoryStep::Files::TargetDeleted:
        QFile::remove(Target());
        break;
    case HistoryStep::Files::TargetMoved:
        QFile::remove(away);
        QFile::rename(Target(), away);
        break;
    case HistoryStep::Files::TargetReturned:
        if (QFile::exists(away)) {
            QFile::remove(Target());
            QFile::rename(away, Target());
        }
        break;
    case HistoryStep::Files::TargetDamaged:
        DamageTarget();
        break;
    case HistoryStep::Files::InstallerDeleted:
        QFile::remove(Packages() + '/' + Current().name);
        break;
    case HistoryStep::Files::RangesComplete:
        CompleteRanges(account);
        break;
    case HistoryStep::Files::Untouched:
    case HistoryStep::Files::Count:
        break;
    }
}

void HistoryRun::DamageTarget() const
{
    QFile target(Target());
    if (target.open(QIODevice::ReadWrite | QIODevice::ExistingOnly)) {
        target.write("damaged");
    }
}

void HistoryRun::CompleteRanges(int account) const
{
    const QString path = StateFile(account);
    const QMap<QString, QString> values = gReadIniText(path);
    QString text = QString::fromUtf8(gReadFile(path));
    for (int number = 1; number <= DiskState::rangeCount; ++number) {
        const QString range = QString::number(number);
        const qint64 last = values.value("DownLoad_Tasks/End_Byte" + range).toLongLong();
        const QString key = "Start_Byte" + range + '=';
        const QRegularExpression line('^' + key + ".*$", QRegularExpression::MultilineOption);
        text.replace(line, key + QString::number(last + 1));
    }
    gWriteFile(path, text.toUtf8());
}

// --- The sessions ----------------------------------------------------------------------------------

bool HistoryRun::HasBegun(int account) const
{
    const QMap<QString, QString> values = gReadIniText(StateFile(account));
    const qint64 bytes = values.value("AlreadyDownload_size/AlreadyDownload_size").toLongLong();
    const qint64 total = values.value("FullPackage_size/FullPackage_size").toLongLong();
    return bytes > 0 && bytes < total && QFile::exists(Target());
}

QStringList HistoryRun::PlayStep(const HistoryStep &step, HistoryService::Pace pace)
{
    m_service.Offer(Current(), step.network, step.percent, pace);
    const QString kept = KeptInstaller(step.account);
    const Installers before = ReadInstallers();
    HistorySession session(Home(step.account), m_folder.path(), m_service.CheckTemplate());
    session.Run(step, Current().bytes.size());
    ++m_sessions;
    m_kills += session.WasKilled() ? 1 : 0;
    m_begun += HasBegun(step.account) ? 1 : 0;
    m_hasOffered = session.HasOffered();
    m_hint = session.Hint();
    const QStringList problems =
        session.Problems(step) + ProblemsOfInstallers(before) + ProblemsOfOffer(session, kept);
    if (session.HasOfferedKept()) {
        // The user has installed it and deletes it. As long as it is there, every check offers it.
        QFile::remove(kept);
    }
    return problems;
}

/// Nothing is wrong any more. All sessions but the last one allowed may end with a text.
QStringList HistoryRun::PlayEnd()
{
    for (int account = 0; account < History::accounts; ++account) {
        const QString kept = KeptInstaller(account);
        if (!kept.isEmpty()) {
            QFile::remove(kept);
        }
    }
    HistoryStep step;
    step.account = m_history.lastAccount;
    step.stop = HistoryStep::Stop::PutOff;
    QStringList problems;
    for (int session = 1; session <= m_history.mostEndSessions; ++session) {
        m_endSessions = session;
        problems += PlayStep(step, HistoryService::Pace::AtOnce);
        if (m_hasOffered || !problems.isEmpty()) {
            break;
        }
    }
    if (!m_hasOffered) {
        problems.append("the end is no package in place, " + m_hint);
    }
    return problems;
}

QString HistoryRun::KeptInstaller(int account) const
{
    const QString path = gReadIniText(Home(account) + "/Corvina.ini").value("Quillon/SetupFile");
    return QFile::exists(path) ? path : QString();
}

// --- What is found after a session -----------------------------------------------------------------

HistoryRun::Installers HistoryRun::ReadInstallers() const
{
    Installers installers;
    for (const Publication &publication : m_publications) {
        const QString path = Packages() + '/' + publication.name;
        if (QFile::exists(path)) {
            installers.insert(publication.name, gReadFile(path));
        }
    }
    return installers;
}

/// An installer is as it was, or it is the one that is published now.
QStringList HistoryRun::ProblemsOfInstallers(const Installers &before) const
{
    QStringList problems;
    const Installers after = ReadInstallers();
    for (auto installer = after.begin(); installer != after.end(); ++installer) {
        const bool isNew = installer.key() == Current().name && *installer == Current().bytes;
        if (!isNew && before.value(installer.key()) != *installer) {
            problems.append("a wrong installer is in place");
        }
    }
    for (const QString &name : before.keys()) {
        if (!after.contains(name)) {
            problems.append("an installer is lost");
        }
    }
    return problems;
}

/// A downloaded installer that is offered has the published bytes, a kept one those that were
/// published when it was downloaded.
QStringList HistoryRun::ProblemsOfOffer(const HistorySession &session, const QString &kept) const
{
    if (!session.HasOffered()) {
        return {};
    }
    if (!session.HasOfferedKept()) {
        const bool isRight = gReadFile(Packages() + '/' + Current().name) == Current().bytes;
        return isRight ? QStringList() : QStringList("a wrong installer is offered");
    }
    const QByteArray bytes = gReadFile(kept);
    const bool wasPublished =
        std::any_of(m_publications.begin(), m_publications.end(),
                    [&bytes](const Publication &one) { return one.bytes == bytes; });
    return wasPublished ? QStringList() : QStringList("a wrong kept installer is offered");
}
