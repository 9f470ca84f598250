// SPDX-License-Identifier: MIT

#pragma once

#include <QWidget>

/// A still picture where an editor shows the clip being edited; part of the stage set.
class PreviewView : public QWidget
{
    Q_OBJECT

public:
    explicit PreviewView(QWidget *parent);

protected:
    void paintEvent(QPaintEvent *event) override;
};
