// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>
#include <QString>

/// Shows a modal message or question in the host's message box and turns the answer into a signal.
///
/// Thread:    GUI thread; `ShowMessage` runs a nested event loop.
/// Ownership: its Qt parent. One object may be shown any number of times. Deleting it while it
///            shows a question closes the box, and no answer is emitted.
class URMessageBox : public QObject
{
    Q_OBJECT

public:
    enum Kind : quint32 { Information = 0, Question = 1 };

    /// @param kind   a `Kind`; with any other value `ShowMessage` does nothing
    /// @param parent owns the object; when it is a widget, the box is shown above it
    URMessageBox(int kind, QObject *parent);

    /// Returns when the user has answered and the signal of the answer was emitted.
    void ShowMessage(QString title, QString text);

signals:
    /// Never emitted. It is part of the meta-object that tst_URMessageBox compares.
    void Close();
    /// An information box was dismissed.
    void Ok();
    /// A question was answered with Yes.
    void Yes();
    /// A question was answered with anything else, or its box was closed.
    void Cancel();

private:
    quint32 m_kind;
    QWidget *m_dialogParent;
};
