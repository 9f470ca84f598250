// SPDX-License-Identifier: MIT

#pragma once

#include <QWidget>

/// The base of every page and of the title bar: paints its style-sheet background and gives
/// subclasses one hook to set their translated texts again.
///
/// Thread: GUI thread. Ownership: its Qt parent.
class URBaseWidget : public QWidget
{
    Q_OBJECT

public:
    explicit URBaseWidget(QWidget *parent);

    /// Called when the application's language changes, before Qt's own handling. Does nothing here.
    virtual void RetranslateUi();

protected:
    bool event(QEvent *event) override;
};
