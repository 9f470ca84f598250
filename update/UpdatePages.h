// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QString>

class HintDisplay;
class ProgressDisplay;
class QWidget;
class VersionDisplay;
class VersionInfo;

/// The texts of an update on the dialog's three pages, and which page is shown.
///
/// Texts are translated in the context `LiveUpdateMgr`, by which hosts' translations know them.
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent. The pages belong to the caller and outlive it. The host may delete the
///            dialog, and this object with it, when a page is shown.
class UpdatePages : public QObject
{
    Q_OBJECT

public:
    UpdatePages(ProgressDisplay *progress, VersionDisplay *version, HintDisplay *hint,
                QObject *parent);

    /// Shows the progress page as it is.
    void ShowProgressPage();
    /// "Checking the version.", with a busy bar and no button.
    /// @return false when the dialog was deleted meanwhile
    bool ShowChecking();
    /// Shows the version page as it is.
    void ShowVersionPage();
    /// What a manifest says: the release notes, on the page that is shown by then, or that there is no
    /// newer version.
    void ShowAnswer(const VersionInfo &manifest);
    /// Shows the hint page; with the text that the check has failed if @p isSpelledOut.
    void ShowCheckFailure(bool isSpelledOut);

    /// "Downloading the update, please wait.", with a busy bar and the button "Close".
    void SetDownloadStart();
    /// Both in bytes. The bar counts in 32 bits, so a package of 2 GiB or more overflows it.
    void SetProgress(qint64 downloaded, qint64 total);
    /// The size of the package could not be found out, or another download is running.
    void ShowPlanFailure();
    void SetHint(const QString &text);
    void ShowHintPage();

    /// What a download that the disk could not keep ends with.
    static QString DownloadFailedText();

signals:
    void SetCurrentWidget(QWidget *page);

private:
    ProgressDisplay *m_progressPage;
    VersionDisplay *m_versionPage;
    HintDisplay *m_hintPage;
};
