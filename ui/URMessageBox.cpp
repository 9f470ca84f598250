#include "ui/URMessageBox.h"

#include "CvMessageBox.h"

#include <QWidget>

namespace
{
constexpr int boxWidth = 560;
constexpr int boxHeight = 186;
// The host library's code for the buttons of a question: Yes and Cancel.
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
    if (m_kind == Information) {
        CvMessageBox::informationOk(title, text, m_dialogParent, boxWidth, boxHeight);
        emit Ok();
    } else if (m_kind == Question) {
        CvMessageBox box(title, text, Qt::AlignRight, questionButtons, m_dialogParent);
        box.resize(boxWidth, boxHeight);
        box.SetIconObjectName(QStringLiteral("MessageBox_Icon_Question"));
        if (box.DoModal() == 1) {
            emit Yes();
        } else {
            emit Cancel();
        }
    }
}
