// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QtGlobal>

/// Receives the outcomes of an update for its operators. `UpdateEventReport` sends them; a test may
/// collect them.
///
/// Thread: GUI thread. Errors: none reach the caller.
class EventSink
{
public:
    /// The result that is sent with a record. The number -5 has never been in use.
    enum EventType : qint32 {
        InstallStarted = 1,
        DownloadError = -1,
        PatchMd5Mismatch = -2,
        PatchDispatchFailed = -3,
        OldVersionMd5Mismatch = -4,
        InstallStartFailed = -6
    };

    EventSink() = default;
    EventSink(const EventSink &) = delete;
    EventSink &operator=(const EventSink &) = delete;
    virtual ~EventSink() = default;

    /// Sets the versions and the package type, "full" or "ins", of the events that follow.
    virtual void SetReportInfo(const QString &oldVersion, const QString &newVersion,
                               const QString &packageType) = 0;

    /// Takes an event; returns without waiting for the network.
    virtual void ReportEvent(EventType type) = 0;

    /// Blocks until the events that are being sent have been sent, at most about 5 s for each.
    virtual void WaitForReports() = 0;
};
