// SPDX-License-Identifier: MIT

#pragma once

#include "CvCommonLibExport.h"

#include <QPushButton>

/// The host's push button, in the host's dark look. The look is the button's own, so it is the same
/// under any parent; hover, focus, pressed, default and disabled each show.
///
/// Thread: GUI thread. Ownership: as any widget.
class CVCOMMONLIB_EXPORT CvButton : public QPushButton
{
    Q_OBJECT

public:
    explicit CvButton(QWidget *parent = nullptr);
    ~CvButton() override;
};
