// SPDX-License-Identifier: MIT

#pragma once

#include "CommonLibExport.h"

#include <QDialog>
#include <QImage>

/// The width in logical pixels of the border in which a `ShadowDialog` paints its drop shadow. A
/// dialog gives its layout this margin, so that its content lies inside the shadow.
COMMONLIB_EXPORT int gGetSystemBorder();

/// A frameless dialog with a soft drop shadow around its content. The area inside the border is
/// filled with the palette's window colour.
///
/// Thread: GUI thread. Ownership: as any `QDialog`.
class COMMONLIB_EXPORT ShadowDialog : public QDialog
{
    Q_OBJECT

public:
    explicit ShadowDialog(QWidget *parent = nullptr);
    ~ShadowDialog() override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void RenderShadow();

    /// The shadow of the whole dialog at its last painted size and pixel ratio.
    QImage m_shadow;
};
