// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

class QProgressBar;
class QStackedWidget;
class QWidget;

/// Watches the update dialog from outside, as a test or a screen reader would: it knows its widgets
/// by class name and object name only.
///
///     paint or page switch ─► Inspect (once per pass of the event loop) ─► PageChanged
///     value of the bar     ─► ProgressChanged
///     a message box shows  ─► PromptShown, from within the box's own event loop
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

    /// Looks at the page now. Call it after `LiveUpdate`: the answer may replace the first page
    /// before the event loop gets round to looking.
    void Inspect();

    QWidget *Dialog() const { return m_dialog; }

    /// The button of the dialog's page that is the @p index-th from the left; null when there is
    /// none.
    QWidget *PageButton(Page page, int index) const;
    QWidget *TitleBarCloseButton() const;

signals:
    /// The dialog shows another page, or its page another text; the counter of a running download
    /// is no other text. @p html is empty but for the version page.
    void PageChanged(DialogWatcher::Page page, const QString &text, const QString &html);
    /// The bar of a download moved.
    void ProgressChanged(int value, int maximum, const QString &text);
    /// A prompt is on the screen and waits for its answer.
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
