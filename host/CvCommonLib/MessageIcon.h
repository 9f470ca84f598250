// SPDX-License-Identifier: MIT

#pragma once

#include <QLabel>

/// The icon of a message box, drawn as lines and curves, so that it is sharp at every pixel ratio:
/// a question mark when its object name is "MessageBox_Icon_Question", otherwise an information
/// sign.
///
/// Thread: GUI thread. Ownership: as any widget.
class MessageIcon : public QLabel
{
    Q_OBJECT

public:
    explicit MessageIcon(QWidget *parent);
    ~MessageIcon() override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
