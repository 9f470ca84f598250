// SPDX-License-Identifier: MIT

#pragma once

#include "ui/URBaseWidget.h"

class CvButton;
class QLabel;
class QScrollArea;

/// The page with the release notes of a newer version, "Update Now" and "Remind Me Later".
///
/// Thread: GUI thread. Ownership: its Qt parent.
class VersionDisplay : public URBaseWidget
{
    Q_OBJECT

public:
    explicit VersionDisplay(QWidget *parent);

    /// Replaces the release notes by the document @p html.
    void SetText(QString html);

    void RetranslateUi() override;

signals:
    void UpdateNow();
    void RemindMeLater();

protected:
    /// Also called with null, to lay the buttons out after their texts have changed.
    void resizeEvent(QResizeEvent *event) override;

private:
    QScrollArea *m_scrollArea;
    QLabel *m_versionLabel;
    CvButton *m_updateButton;
    CvButton *m_remindButton;
};
