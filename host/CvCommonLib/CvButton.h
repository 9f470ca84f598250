// SPDX-License-Identifier: MIT

#pragma once

#include "CvCommonLibExport.h"

#include <QPushButton>

/// The host's push button in its dark look. The button carries the style sheet itself, so it looks
/// the same under any parent. Hover, focus, pressed, default and disabled each look different
/// (tst_CvButton).
///
/// Thread: GUI thread. Ownership: as any widget.
class CVCOMMONLIB_EXPORT CvButton : public QPushButton
{
    Q_OBJECT

public:
    explicit CvButton(QWidget *parent = nullptr);
    ~CvButton() override;
};
