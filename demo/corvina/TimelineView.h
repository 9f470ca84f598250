// SPDX-License-Identifier: MIT

#pragma once

#include <QWidget>

/// A few clips on tracks where an editor shows its timeline; part of the stage set.
class TimelineView : public QWidget
{
    Q_OBJECT

public:
    explicit TimelineView(QWidget *parent);

protected:
    void paintEvent(QPaintEvent *event) override;
};
