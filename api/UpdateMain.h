// SPDX-License-Identifier: MIT

#pragma once

#include "QuillonExport.h"
#include "ShadowDialog.h"

class UpdateMainImpl;

/// The live-update dialog, and all that a host needs to offer an update.
///
/// Purpose:   checks for a newer version, shows its release notes, downloads the package, resumes a
///            download that was interrupted, and hands over to the installer. README.md shows a
///            host in twenty lines.
/// Thread:    the host's GUI thread, for every call and every signal. While the user is asked about
///            an installer, the dialog runs a nested event loop.
/// Ownership: the host, or the Qt parent that it gives, owns the dialog; closing does not delete
///            it. The host may delete it in the slot of any signal and while the user is asked; no
///            further signal is emitted then. Set the values of `UpdateInit` and `QuillonInit`
///            first. One dialog serves one offer of an update.
/// Errors:    no exceptions and no error codes. What goes wrong is shown on the dialog's pages and
///            written to the host's log.
///
/// The signals of each ending, in their order:
///
///     what the user does                         signals
///     "Remind me later" on the version page      RemindMeLater
///     closes the version page or the hint page   Close
///     closes the progress page                   Close, five or six times
///     downloaded package, answers "Yes"          BeginInstall, Close, InstallStarted
///     downloaded package, answers "Cancel"       BeginInstall, CancelInstall, Close
///     kept installer, answers "Yes"              Close, InstallStarted
///     kept installer, answers "Cancel"           CancelInstall, Close
///
/// Closing the box of the question is an answer: "Cancel". An installer that cannot be started is
/// logged, and no `InstallStarted` follows. tst_UpdateMain and tst_InstallHandOff hold the order.
class QUILLON_EXPORT UpdateMain : public ShadowDialog
{
    Q_OBJECT

public:
    /// Builds the dialog, modal, frameless and 570 x 250 logical pixels large. It is not shown yet.
    explicit UpdateMain(QWidget *parent = nullptr);
    ~UpdateMain() override;

    /// Shows the dialog and checks for an update. A check that goes to the service only starts in
    /// this call; its answer and every signal come later, from the event loop.
    ///
    /// Signals can be emitted before this call returns: when the setting `SetupFile`
    /// ("Corvina.ini", group "Quillon") names an existing file, the service is not asked. The call
    /// offers this kept installer in a nested event loop and emits `Close` and `InstallStarted`, or
    /// `CancelInstall` and `Close`, before it returns. `BeginInstall` is not emitted for a kept
    /// installer.
    ///
    /// A host that connects `InstallStarted` to `QApplication::quit` must therefore call this from
    /// within `QApplication::exec()`, for example from a zero timer: `quit` has no effect before
    /// `exec()`.
    ///
    /// With public keys (`UpdateTrust`) a kept installer is verified first, on another thread, and is
    /// offered from the event loop. One that is not what was kept is not offered; the service is asked.
    ///
    /// @param pid, version, email  the values that follow "pid=", "version=" and "email=" in the
    ///                             address of the check
    void LiveUpdate(QString pid, QString version, QString email);

    /// The same with the module's own values: the product identifier of the customisation,
    /// `UpdateInit::GetUpdateVersion()` and the setting `Email`. What is said above about signals
    /// and `exec()` holds here, too.
    void LiveUpdate();

    /// Asks the service without showing or changing the dialog. A kept installer is not looked for.
    ///
    /// Blocks the thread for at most 5000 ms, without running its event loop. With public keys another
    /// process that remembers a serial is waited for as well, a second at most. No signal is emitted.
    /// @return true when the service's manifest names an installer; versions are not compared.
    ///         False when it names none, on any failure, and when the time has passed.
    bool IsNeedUpdate();

    /// Starts the kept installer once more, after the user was asked about it and answered "Yes";
    /// that answer has already started it once. Nothing happens after any other answer and for a
    /// package that this dialog downloaded. Blocks until the event reports have ended, at most
    /// about 5 s for each. `InstallStarted` is emitted from within the call when the start
    /// succeeds.
    void Install();

signals:
    // But for `BeginInstall`, each signal reaches the host's slots before the dialog closes itself.

    /// The downloaded package is complete and in place; the user is asked next. The dialog stays
    /// open.
    void BeginInstall();
    /// The user put the installation off. The path of the installer is in the setting `SetupFile`
    /// by now, so the next `LiveUpdate` offers it. `Close` follows.
    void CancelInstall();
    /// The installer is running: terminate the host now, so that its files can be replaced. Between
    /// `Close` and this signal the thread is blocked until the event reports have ended, at most
    /// about 5 s for each.
    void InstallStarted();
    /// The dialog closes. When the progress page is closed, this is emitted five times in a row by
    /// the page's own button and six times by the title bar. Hosts count on the repetition
    /// (docs/decisions/0004-closing-a-download.md); slots have to tolerate it. Escape and the
    /// system's own ways to close a window count as the title bar. The host's call of `close()`
    /// emits nothing, and a download goes on.
    void Close();
    /// The user chose to be reminded later. The module stores nothing; the host decides when to
    /// check again.
    void RemindMeLater();

private:
    UpdateMainImpl *m_impl;
};
