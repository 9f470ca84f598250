// SPDX-License-Identifier: MIT

#pragma once

#include <QWidget>

/// A still picture in the place where a video editor shows the clip.
class PreviewView : public QWidget
{
    Q_OBJECT

public:
    explicit PreviewView(QWidget *parent);

protected:
    void paintEvent(QPaintEvent *event) override;
};
