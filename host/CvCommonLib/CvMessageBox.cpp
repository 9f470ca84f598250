// SPDX-License-Identifier: MIT

#include "CvMessageBox.h"

#include "CvButton.h"
#include "MessageIcon.h"

#include <QAbstractButton>
#include <QFontMetrics>
#include <QFrame>
#include <QHBoxLayout>
#include <QMouseEvent>
#include <QVBoxLayout>

namespace
{
QString gInformationIcon()
{
    return QStringLiteral("MessageBox_Icon_Information");
}

constexpr int titleHeight = 30;
constexpr int sideMargin = 20;
constexpr int buttonHeight = 30;
constexpr int smallestButtonWidth = 80;

const char *const look = R"(
QFrame#CvMessageBox_Frame { background-color: #1C232A; border: 1px solid #2A343F; }
QLabel#CvMessageBox_TitleLabel {
    font: 14px "Lato";
    color: #CDD5DD;
    border: none;
    border-bottom: 1px solid #000000;
    padding-left: 20px;
}
QLabel#CvMessageBox_TextLabel { font: 14px "Lato"; color: #CDD5DD; }
)";
} // namespace

CvMessageBox::CvMessageBox(const QString &title, const QString &text, Qt::AlignmentFlag alignment,
                           int buttons, QWidget *parent)
    : BaseDialog(parent)
    , m_title(new QLabel(title, this))
    , m_icon(new MessageIcon(this))
    , m_text(new QLabel(text, this))
{
    setWindowTitle(title);
    setAccessibleName(title);
    setAccessibleDescription(text);
    setStyleSheet(QLatin1String(look));

    m_title->setObjectName(QStringLiteral("CvMessageBox_TitleLabel"));
    m_title->setTextFormat(Qt::PlainText);
    m_title->setFixedHeight(titleHeight);
    m_text->setObjectName(QStringLiteral("CvMessageBox_TextLabel"));
    m_text->setTextFormat(Qt::PlainText);
    m_text->setWordWrap(true);
    SetIconObjectName(gInformationIcon());
    LayOut(CreateButtonRow(alignment, buttons));
}

CvMessageBox::~CvMessageBox() = default;

void CvMessageBox::SetIconObjectName(QString name)
{
    m_icon->setObjectName(name);
    m_icon->setAccessibleName(name == gInformationIcon() ? tr("Information") : tr("Question"));
    m_icon->update();
}

CvMessageBox::Button CvMessageBox::informationOk(const QString &title, const QString &text,
                                                 QWidget *parent, int width, int height)
{
    CvMessageBox box(title, text, Qt::AlignRight, Ok, parent);
    box.resize(width, height);
    return box.DoModal() == 1 ? Ok : Cancel;
}

void CvMessageBox::LayOut(QLayout *buttonRow)
{
    auto *frame = new QFrame(this);
    frame->setObjectName(QStringLiteral("CvMessageBox_Frame"));

    auto *message = new QHBoxLayout;
    message->setContentsMargins(sideMargin, 12, sideMargin, 8);
    message->setSpacing(16);
    message->addWidget(m_icon, 0, Qt::AlignVCenter);
    message->addWidget(m_text, 1);

    auto *content = new QVBoxLayout(frame);
    content->setContentsMargins(0, 0, 0, 0);
    content->setSpacing(0);
    content->addWidget(m_title);
    content->addLayout(message, 1);
    content->addLayout(buttonRow);

    auto *shadow = new QVBoxLayout(this);
    const int border = gGetSystemBorder();
    shadow->setContentsMargins(border, border, border, border);
    shadow->addWidget(frame);
}

QLayout *CvMessageBox::CreateButtonRow(Qt::AlignmentFlag alignment, int buttons)
{
    auto *row = new QHBoxLayout;
    row->setContentsMargins(sideMargin, 0, sideMargin, 12);
    row->setSpacing(sideMargin);
    if (alignment != Qt::AlignLeft) {
        row->addStretch();
    }
    if ((buttons & Yes) != 0) {
        AddButton(row, QStringLiteral("CvMessageBox_YesBtn"), tr("Yes"), true);
    }
    if ((buttons & Ok) != 0) {
        AddButton(row, QStringLiteral("CvMessageBox_OkBtn"), tr("OK"), true);
    }
    if ((buttons & No) != 0) {
        AddButton(row, QStringLiteral("CvMessageBox_NoBtn"), tr("No"), false);
    }
    if ((buttons & Cancel) != 0) {
        AddButton(row, QStringLiteral("CvMessageBox_CancelBtn"), tr("Cancel"), false);
    }
    if (alignment != Qt::AlignRight) {
        row->addStretch();
    }
    return row;
}

void CvMessageBox::AddButton(QLayout *row, const QString &name, const QString &text,
                             bool affirmative)
{
    auto *button = new CvButton(this);
    button->setObjectName(name);
    button->setText(text);
    const int textWidth = QFontMetrics(button->font()).horizontalAdvance(text);
    button->setFixedSize(qMax(smallestButtonWidth, textWidth + sideMargin), buttonHeight);
    connect(button, &QAbstractButton::clicked, this,
            affirmative ? &CvMessageBox::accept : &CvMessageBox::reject);
    row->addWidget(button);
}

void CvMessageBox::showEvent(QShowEvent *event)
{
    // A translated text may need more height than the caller has set.
    resize(width(), qMax(height(), layout()->totalHeightForWidth(width())));
    BaseDialog::showEvent(event);
}

void CvMessageBox::mousePressEvent(QMouseEvent *event)
{
    const QRect title(m_title->mapTo(this, QPoint(0, 0)), m_title->size());
    if (event->button() == Qt::LeftButton && title.contains(event->pos())) {
        m_grip = event->pos();
    }
}

void CvMessageBox::mouseMoveEvent(QMouseEvent *event)
{
    if (!m_grip.isNull()) {
        move(event->globalPos() - m_grip);
    }
}

void CvMessageBox::mouseReleaseEvent(QMouseEvent *)
{
    m_grip = QPoint();
}
