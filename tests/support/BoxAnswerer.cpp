// SPDX-License-Identifier: MIT

#include "tests/support/BoxAnswerer.h"

#include <QAbstractButton>
#include <QApplication>

#include <utility>

BoxAnswerer::BoxAnswerer(Answer answer)
    : m_answer(std::move(answer))
{
    QObject::connect(&m_poll, &QTimer::timeout, &m_poll, [this]() { Look(); });
    m_poll.start(1);
}

BoxAnswerer::Answer BoxAnswerer::Press(const QString &buttonName)
{
    return [buttonName](QWidget *box) {
        auto *button = box->findChild<QAbstractButton *>(buttonName);
        if (button) {
            button->click();
        } else {
            qWarning("The message box has no button %s.", qPrintable(buttonName));
            box->close();
        }
    };
}

BoxAnswerer::Answer BoxAnswerer::CloseBox()
{
    return [](QWidget *box) { box->close(); };
}

void BoxAnswerer::Look()
{
    QWidget *box = QApplication::activeModalWidget();
    if (box && box->isVisible() && box->inherits("CvMessageBox")) {
        ++m_answered;
        m_answer(box);
    }
}
