// SPDX-License-Identifier: MIT

#pragma once

#include "demo/corvina/DemoOptions.h"
#include "demo/corvina/DialogWatcher.h"
#include "demo/corvina/HeartbeatGaps.h"
#include "demo/corvina/ProgressEvents.h"

#include <QObject>
#include <QString>

class EventWriter;
class Screenshots;

/// Writes what the update dialog shows as events, takes its pictures, and presses the buttons that
/// the options name.
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent; everything given by reference outlives it.
class DialogScript : public QObject
{
    Q_OBJECT

public:
    DialogScript(const DemoOptions &options, const EventWriter &writer, Screenshots &screenshots,
                 DialogWatcher *watcher);

    /// Writes the page that the dialog shows at this moment.
    void InspectNow() { m_watcher->Inspect(); }

    /// Writes the progress that is held back; call it before other events.
    void Flush() { m_progress.Flush(); }

    /// Tells the gaps of the download that runs, if there is one; call it when the dialog closes.
    void EndDownload() { m_gaps.End(); }

signals:
    /// A prompt was answered with Yes, by the user or by this script.
    void InstallAgreed();

private slots:
    void _PageChanged(DialogWatcher::Page page, const QString &text, const QString &html);
    void _ProgressChanged(int value, int maximum, const QString &text);
    void _PromptShown(QWidget *box);

private:
    void BeatFromUpdateNow();
    void AnswerVersionPage();
    void PressSoon(QWidget *button);

    const DemoOptions &m_options;
    const EventWriter &m_writer;
    Screenshots &m_screenshots;
    DialogWatcher *m_watcher;
    ProgressEvents m_progress;
    HeartbeatGaps m_gaps;
    bool m_halfwayTaken = false;
    bool m_closed = false;
};
