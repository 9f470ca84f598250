// SPDX-License-Identifier: MIT

#include "CvButton.h"

namespace
{
// No padding and no minimum size: callers add their own margin to the width of the text.
const char *const look = R"(
CvButton {
    background-color: #2A343F;
    border: 1px solid #3D4A57;
    border-radius: 3px;
    color: #CDD5DD;
    padding: 0px;
    outline: none;
}
CvButton:default { border-color: #61DED0; color: #61DED0; }
CvButton:focus { border-color: #61DED0; }
CvButton:hover { background-color: #384653; border-color: #61DED0; color: #FFFFFF; }
CvButton:pressed { background-color: #61DED0; border-color: #61DED0; color: #151A20; }
CvButton:disabled { background-color: #1F272F; border-color: #2A343F; color: #5B6874; }
)";
} // namespace

CvButton::CvButton(QWidget *parent)
    : QPushButton(parent)
{
    // Set here and not in the sheet, because callers measure the text before the sheet is applied.
    QFont textFont(QStringLiteral("Lato"));
    textFont.setStyleHint(QFont::SansSerif);
    textFont.setPixelSize(14);
    setFont(textFont);
    setStyleSheet(QLatin1String(look));
}

CvButton::~CvButton() = default;
