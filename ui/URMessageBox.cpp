// SPDX-License-Identifier: MIT

#include "ui/URMessageBox.h"

#include "CvMessageBox.h"

#include <QPointer>
#include <QWidget>

namespace
{
constexpr int boxWidth = 560;
constexpr int boxHeight = 186;
// `CvMessageBox::Yes` and `CvMessageBox::Cancel`.
constexpr int questionButtons = 9;
} // namespace

URMessageBox::URMessageBox(int kind, QObject *parent)
    : QObject(parent)
    , m_kind(static_cast<quint32>(kind))
    , m_dialogParent(qobject_cast<QWidget *>(parent))
{
}

void URMessageBox::ShowMessage(QString title, QString text)
{
    const QPointer<URMessageBox> alive(this);
    if (m_kind == Information) {
        CvMessageBox::informationOk(title, text, m_dialogParent, boxWidth, boxHeight);
        if (alive != nullptr) {
            emit Ok();
        }
    } else if (m_kind == Question) {
        // The host may delete this object, or the parent of the box, while the question is shown.
        // Then the box closes, and no answer is emitted. The box is on the heap because its parent
        // may delete it.
        const QPointer<CvMessageBox> box =
            new CvMessageBox(title, text, Qt::AlignRight, questionButtons, m_dialogParent);
        connect(this, &QObject::destroyed, box, &QDialog::reject);
        box->resize(boxWidth, boxHeight);
        box->SetIconObjectName(QStringLiteral("MessageBox_Icon_Question"));
        const bool isYes = box->DoModal() == 1;
        if (alive != nullptr && isYes) {
            emit Yes();
        } else if (alive != nullptr) {
            emit Cancel();
        }
        delete box;
    }
}
