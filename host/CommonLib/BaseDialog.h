// SPDX-License-Identifier: MIT

#pragma once

#include "ShadowDialog.h"

/// The base of the host's modal dialogs.
///
/// Thread: GUI thread. Ownership: as any `QDialog`; usually created on the stack.
class COMMONLIB_EXPORT BaseDialog : public ShadowDialog
{
    Q_OBJECT

public:
    explicit BaseDialog(QWidget *parent = nullptr);
    ~BaseDialog() override;

    /// Shows the dialog and runs its modal loop until it is answered.
    /// @return 1 for the affirmative button, 0 for any other answer and for closing.
    int DoModal();
};
