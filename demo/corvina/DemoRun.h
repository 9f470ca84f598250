// SPDX-License-Identifier: MIT

#pragma once

#include "demo/corvina/DemoOptions.h"
#include "demo/corvina/DemoWindow.h"
#include "demo/corvina/EventWriter.h"
#include "demo/corvina/ExitPolicy.h"
#include "demo/corvina/Screenshots.h"

#include <QObject>
#include <QPointer>
#include <QString>

class DialogScript;
class UpdateMain;

/// The host's side of an update: hands the module its settings, opens its dialog, and leaves when
/// the installer runs or the script is through.
///
/// Thread:    GUI thread.
/// Ownership: created on the stack; the options and the writer outlive it.
class DemoRun : public QObject
{
    Q_OBJECT

public:
    DemoRun(const DemoOptions &options, const EventWriter &writer);
    ~DemoRun() override;

    /// Shows the window and begins the check that was asked for.
    void Start();

private slots:
    void _CheckInteractively();
    void _CheckSilently();
    void _TimedOut();

private:
    void ConfigureModule() const;
    void CreateDialog();
    void ConnectSignals();
    void SignalArrived(const QString &name, bool ends);

    const DemoOptions &m_options;
    const EventWriter &m_writer;
    Screenshots m_screenshots;
    ExitPolicy m_exit;
    DemoWindow m_window;
    QPointer<UpdateMain> m_dialog;
    QPointer<DialogScript> m_script;
};
