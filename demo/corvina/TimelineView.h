// SPDX-License-Identifier: MIT

#pragma once

#include <QWidget>

/// A picture of a few clips on tracks, in the place where a video editor has its timeline.
class TimelineView : public QWidget
{
    Q_OBJECT

public:
    explicit TimelineView(QWidget *parent);

protected:
    void paintEvent(QPaintEvent *event) override;
};
