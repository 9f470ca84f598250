// SPDX-License-Identifier: MIT

#pragma once

#include "update/base/EventSink.h"
#include "update/report/EventRecord.h"

#include <QList>
#include <QMutex>
#include <QObject>
#include <QString>

#include <atomic>
#include <memory>
#include <vector>

class QThread;

/// Sends one statistics record for each notable outcome of an update, without blocking the dialog.
///
///     ReportEvent ─┬─► StartReport ─► Report (its own thread: one GET, at most 5 s)
///                  │                    └─► _ReportFinished (back on this thread)
///                  │                          ├─ failed: the same event once more
///                  └─► waits in m_pending ◄───┴─ done: the next one that waits
///
/// A record goes to "https://<host>/tallow/visit/?data=<JSON>"; see `gEventRecordJson`. Only the
/// status 200 counts as received. Certificate errors are never ignored.
///
/// Thread:    the thread that first asks for the instance, for every call; only `Report` runs
///            elsewhere.
/// Ownership: one instance for the process, which is destroyed when it exits; a library that holds it
///            is not unloaded before that.
/// Errors:    none reach a caller; a record that fails twice is lost.
class UpdateEventReport : public QObject, public EventSink
{
    Q_OBJECT

public:
    static UpdateEventReport *GetInstance();

    /// Waits for every report that was started.
    ~UpdateEventReport() override;

    /// Sets the versions and the package type, "full" or "ins", of the records that follow.
    void SetReportInfo(const QString &oldVersion, const QString &newVersion,
                       const QString &packageType) override;

    /// Sends a record of @p type now, or behind those that are on their way, to the statistics host
    /// that the settings in @p configDirectory name; without it, in the directory of `QuillonInit`.
    void ReportEvent(EventType type, const QString &configDirectory);
    void ReportEvent(EventType type) override;

    /// Blocks until every report that was started has ended, at most about 5 s for each. Events
    /// that still wait behind one in flight are not started meanwhile. No event of Qt is delivered on
    /// the calling thread.
    void WaitForReports() override;

    /// Sends the record, then calls `_ReportFinished` queued. For `StartReport` only.
    void Report(EventType type, bool firstAttempt);

public slots:
    void _ReportFinished(bool result, int type);

private:
    struct Event {
        EventType type;
        QString configDirectory;
    };

    UpdateEventReport();

    void StartReport(const Event &event, bool firstAttempt);
    EventRecord MakeRecord(EventType type);

    /// Guards the strings: a report in flight reads them on its thread.
    QMutex m_mutex;
    QString m_oldVersion;
    QString m_newVersion;
    QString m_uid;
    QString m_packageType;
    QString m_pid;
    QString m_host;
    QList<Event> m_pending;
    /// Of the event that was started last.
    QString m_configDirectory;
    /// The reports that are being sent. Each takes itself off before it posts its outcome, so that an
    /// event raised behind that outcome does not wait for one that will never come.
    std::atomic<int> m_inFlight{0};
    /// Every report has a thread of its own. A task of a pool would be run by the waiting thread, the
    /// GUI thread, when no thread of the pool has begun it.
    std::vector<std::unique_ptr<QThread>> m_threads;
};

/// The process's reports, for a dialog that was constructed with @p configDirectory. The instance behind
/// them is made with the first event, not before: making it reads the client sign, or stores a new one.
/// Thread: GUI thread. Ownership: the process.
EventSink &gProcessReports(const QString &configDirectory);
