// SPDX-License-Identifier: MIT

#pragma once

#include "QuillonExport.h"
#include "ShadowDialog.h"

class UpdateMainImpl;

/// The live-update dialog, and all that a host needs to offer an update.
///
/// Purpose:   checks for a newer version, shows its release notes, downloads the package with
/// resume,
///            and hands over to the installer. See README.md for a host in twenty lines.
/// Thread:    the host's GUI thread, for every call and every signal.
/// Ownership: the host owns the dialog and deletes it; closing it does not. Set the values of
///            `UpdateInit` and `QuillonInit` first. One dialog serves one offer of an update.
/// Errors:    no exceptions and no error codes. What goes wrong is shown on the dialog's pages and
///            written to the host's log.
class QUILLON_EXPORT UpdateMain : public ShadowDialog
{
    Q_OBJECT

public:
    /// Builds the dialog, modal, frameless and 570 x 250 pixels large. It is not shown yet.
    explicit UpdateMain(QWidget *parent = nullptr);
    ~UpdateMain() override;

    /// Shows the dialog and asks the service, with the caller's query values: @p pid goes behind
    /// "pid=",
    /// @p version behind "version=" and @p email behind "email=".
    void LiveUpdate(QString pid, QString version, QString email);

    /// Shows the dialog and asks the service, with the module's own values: the product identifier
    /// of the customisation, `UpdateInit::GetUpdateVersion()` and the e-mail address of the
    /// settings.
    void LiveUpdate();

    /// Asks the service silently; the dialog is neither shown nor changed.
    /// @return true when a newer version exists; false when there is none, on any failure, and when
    /// no
    ///         answer came within 5000 ms. Blocks the caller for at most that time.
    bool IsNeedUpdate();

    /// Starts the installer that the user has already agreed to start when a kept package was
    /// offered. Without such an agreement nothing happens.
    void Install();

signals:
    /// The package is complete and in place; the user is about to be asked. The dialog stays open.
    void BeginInstall();
    /// The user put the installation off; the installer is kept for next time. The dialog closes.
    void CancelInstall();
    /// The installer is running: terminate the host now, so that it can be replaced. The dialog
    /// closes.
    void InstallStarted();
    /// The dialog closes. Fires several times in a row when a download is closed (five times from
    /// the page's own button, six from the title bar): slots have to tolerate the repetition. Escape, and
    /// the system's own ways to close a window, count as the title bar; the host's `close()` gives none.
    void Close();
    /// The user wants to be asked again later. When is the host's business; the module stores
    /// nothing.
    void RemindMeLater();

private:
    UpdateMainImpl *m_impl;
};
