// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QProgressBar;
class QStackedWidget;
class QWidget;

/// Watches the update dialog from outside: it finds the widgets by class name and object name, and
/// uses nothing of the module's headers.
///
///     paint or page switch  ─► Inspect (once per pass of the event loop) ─► PageChanged
///     value of the bar      ─► ProgressChanged
///     a message box appears ─► PromptShown, from within the box's own event loop
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent; the dialog belongs to the caller and may go first.
class DialogWatcher : public QObject
{
    Q_OBJECT

public:
    enum class Page { Progress, Version, Hint };
    Q_ENUM(Page)

    DialogWatcher(QWidget *dialog, QObject *parent);

    /// Reads the current page, and emits `PageChanged` when it has changed. Call it after
    /// `LiveUpdate`: the service's answer may replace the first page before the event loop calls
    /// this.
    void Inspect();

    QWidget *Dialog() const { return m_dialog; }

    /// The button of the dialog's page that is the @p index-th from the left; null when there is
    /// none.
    QWidget *PageButton(Page page, int index) const;
    QWidget *TitleBarCloseButton() const;

signals:
    /// The dialog shows another page, or the page another text. A change in the byte counter of a
    /// download alone does not count. @p html is the text of the version page with its markup, and
    /// empty for the other pages.
    void PageChanged(DialogWatcher::Page page, const QString &text, const QString &html);
    /// The progress bar of a download has a new value, in bytes.
    void ProgressChanged(int value, int maximum, const QString &text);
    /// A prompt is shown and not yet answered.
    void PromptShown(QWidget *box);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private slots:
    void _PromptReady();
    void _ValueChanged(int value);

private:
    void InspectSoon();
    void WatchWidget(QWidget *widget, QEvent *event);
    QWidget *PageWidget(Page page) const;
    QString PageText(Page page) const;

    QPointer<QWidget> m_dialog;
    QPointer<QStackedWidget> m_pages;
    QPointer<QProgressBar> m_bar;
    QPointer<QWidget> m_prompt;
    bool m_inspectPending = false;
    QString m_shown;
};
