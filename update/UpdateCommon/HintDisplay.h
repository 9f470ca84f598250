// SPDX-License-Identifier: MIT

#pragma once

#include "ui/URBaseWidget.h"

class CvButton;
class QLabel;

/// The page with a final message, a result or a failure, and "Close".
///
/// Thread: GUI thread. Ownership: its Qt parent.
class HintDisplay : public URBaseWidget
{
    Q_OBJECT

public:
    explicit HintDisplay(QWidget *parent);

    void SetText(QString text);

    void RetranslateUi() override;

signals:
    void Close();

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QLabel *m_hintLabel;
    CvButton *m_closeButton;
};
