// SPDX-License-Identifier: MIT

#include "BaseDialog.h"

BaseDialog::BaseDialog(QWidget *parent)
    : ShadowDialog(parent)
{
}

BaseDialog::~BaseDialog() = default;

int BaseDialog::DoModal()
{
    return exec() == QDialog::Accepted ? 1 : 0;
}
