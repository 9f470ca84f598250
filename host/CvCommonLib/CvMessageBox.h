// SPDX-License-Identifier: MIT

#pragma once

#include "BaseDialog.h"
#include "CvCommonLibExport.h"

#include <QPoint>
#include <QString>

class QLabel;
class QLayout;

/// The host's modal message box: title, icon, text and one or more buttons.
///
/// The caller sets the size; a text that needs more height makes the box grow when it is shown.
///
/// Thread:    GUI thread.
/// Ownership: as any `QDialog`; `informationOk` creates its own box.
/// Keyboard:  Return presses the button that has the focus, at first the affirmative one; Escape
///            closes the box, as `No` and `Cancel` do.
/// Mouse:     the box is dragged by its title.
///
/// Object names for styling and tests: "CvMessageBox_TitleLabel", "CvMessageBox_TextLabel",
/// "CvMessageBox_YesBtn", "CvMessageBox_NoBtn", "CvMessageBox_OkBtn", "CvMessageBox_CancelBtn".
class CVCOMMONLIB_EXPORT CvMessageBox : public BaseDialog
{
    Q_OBJECT

public:
    /// The buttons; a box takes any sum of them. A question has `Yes` and `Cancel`, the sum 9.
    /// `Yes` and `Ok` are affirmative: for them `DoModal` returns 1, for the others 0.
    enum Button { Yes = 0x1, No = 0x2, Ok = 0x4, Cancel = 0x8 };

    /// @param text      shown as it is, without markup, over as many lines as it needs
    /// @param alignment horizontal alignment of the buttons
    /// @param buttons   sum of `Button` values
    CvMessageBox(const QString &title, const QString &text, Qt::AlignmentFlag alignment,
                 int buttons, QWidget *parent);
    ~CvMessageBox() override;

    /// Sets the icon's object name, by which it is drawn and style sheets find it:
    /// "MessageBox_Icon_Question"; "MessageBox_Icon_Information", which it is at first.
    void SetIconObjectName(QString name);

    /// Shows @p text with an OK button in a box of @p width x @p height logical pixels and returns
    /// when it was answered: `Ok` for the button, `Cancel` when the box was closed.
    static Button informationOk(const QString &title, const QString &text, QWidget *parent,
                                int width, int height);

protected:
    void showEvent(QShowEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;

private:
    void LayOut(QLayout *buttonRow);
    QLayout *CreateButtonRow(Qt::AlignmentFlag alignment, int buttons);
    void AddButton(QLayout *row, const QString &name, const QString &text, bool affirmative);

    QLabel *m_title;
    QLabel *m_icon;
    QLabel *m_text;
    /// Where the box was pressed for a drag, from its top left corner; null when it is not dragged.
    QPoint m_grip;
};
