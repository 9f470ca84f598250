// SPDX-License-Identifier: MIT

#pragma once

#include <QTimer>

#include <functional>

class QWidget;

/// Answers every modal message box that comes up while the object lives, from within the box's own
/// event loop, as a user would.
///
/// Thread: GUI thread. Errors: a box without the named button is closed, so that the test goes on.
class BoxAnswerer
{
public:
    /// Called with the box, which is modal and visible. It has to end the box.
    using Answer = std::function<void(QWidget *box)>;

    explicit BoxAnswerer(Answer answer);

    /// Presses the button of that object name, for example "CvMessageBox_YesBtn".
    static Answer Press(const QString &buttonName);
    /// Closes the box by its window's close control.
    static Answer CloseBox();

    /// How many boxes were answered.
    int Answered() const { return m_answered; }

private:
    void Look();

    Answer m_answer;
    QTimer m_poll;
    int m_answered = 0;
};
