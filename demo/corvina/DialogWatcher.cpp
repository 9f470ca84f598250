// SPDX-License-Identifier: MIT

#include "demo/corvina/DialogWatcher.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QEvent>
#include <QLabel>
#include <QProgressBar>
#include <QStackedWidget>
#include <QTextDocumentFragment>
#include <QTimer>
#include <QWidget>

#include <algorithm>
#include <array>

namespace
{
struct PageClass {
    DialogWatcher::Page page;
    const char *name;
};

constexpr std::array<PageClass, 3> pageClasses{{
    {DialogWatcher::Page::Progress, "ProgressDisplay"},
    {DialogWatcher::Page::Version, "VersionDisplay"},
    {DialogWatcher::Page::Hint, "HintDisplay"},
}};

/// The text without the numbers of a download's counter, which change with every chunk.
QString gWithoutCounter(const QString &text)
{
    const int counter = text.indexOf(QLatin1String("..("));
    return counter < 0 ? text : text.left(counter);
}
} // namespace

DialogWatcher::DialogWatcher(QWidget *dialog, QObject *parent)
    : QObject(parent)
    , m_dialog(dialog)
    , m_pages(dialog->findChild<QStackedWidget *>())
    , m_bar(dialog->findChild<QProgressBar *>(QStringLiteral("UpdateProgressBar")))
{
    QCoreApplication::instance()->installEventFilter(this);
    if (m_pages != nullptr) {
        connect(m_pages, &QStackedWidget::currentChanged, this, &DialogWatcher::InspectSoon);
    }
    if (m_bar != nullptr) {
        connect(m_bar, &QProgressBar::valueChanged, this, &DialogWatcher::_ValueChanged);
    }
}

bool DialogWatcher::eventFilter(QObject *watched, QEvent *event)
{
    if (watched->isWidgetType()) {
        WatchWidget(static_cast<QWidget *>(watched), event);
    }
    return QObject::eventFilter(watched, event);
}

void DialogWatcher::WatchWidget(QWidget *widget, QEvent *event)
{
    if (event->type() == QEvent::Show && widget->inherits("CvMessageBox")) {
        m_prompt = widget;
        QTimer::singleShot(0, this, &DialogWatcher::_PromptReady);
    }
    // A changed text is noticed by its paint event, because labels have no signal for it.
    if (event->type() == QEvent::Paint && m_dialog != nullptr && widget->window() == m_dialog) {
        InspectSoon();
    }
}

void DialogWatcher::_PromptReady()
{
    if (m_prompt != nullptr) {
        emit PromptShown(m_prompt);
    }
}

void DialogWatcher::InspectSoon()
{
    if (m_inspectPending) {
        return;
    }
    m_inspectPending = true;
    QTimer::singleShot(0, this, &DialogWatcher::Inspect);
}

void DialogWatcher::Inspect()
{
    m_inspectPending = false;
    if (m_dialog == nullptr || m_pages == nullptr || !m_dialog->isVisible()) {
        return;
    }
    const QWidget *current = m_pages->currentWidget();
    for (const PageClass &entry : pageClasses) {
        if (current == nullptr || !current->inherits(entry.name)) {
            continue;
        }
        const QString text = PageText(entry.page);
        const QString shown = QLatin1String(entry.name) + gWithoutCounter(text);
        if (shown == m_shown) {
            return;
        }
        m_shown = shown;
        const bool isHtml = entry.page == Page::Version;
        emit PageChanged(entry.page,
                         isHtml ? QTextDocumentFragment::fromHtml(text).toPlainText() : text,
                         isHtml ? text : QString());
    }
}

void DialogWatcher::_ValueChanged(int value)
{
    // Without a maximum the bar shows no progress, only that the program is busy.
    if (m_bar->maximum() > 0) {
        emit ProgressChanged(value, m_bar->maximum(), PageText(Page::Progress));
    }
}

QWidget *DialogWatcher::PageWidget(Page page) const
{
    for (int i = 0; m_pages != nullptr && i < m_pages->count(); ++i) {
        if (m_pages->widget(i)->inherits(pageClasses.at(static_cast<size_t>(page)).name)) {
            return m_pages->widget(i);
        }
    }
    return nullptr;
}

QString DialogWatcher::PageText(Page page) const
{
    const QWidget *widget = PageWidget(page);
    if (widget == nullptr) {
        return {};
    }
    QString name;
    switch (page) {
    case Page::Progress:
        name = QStringLiteral("UpdateProgressLabel");
        break;
    case Page::Version:
        name = QStringLiteral("VersionDisplay_VersionLabel");
        break;
    case Page::Hint:
        break;
    }
    const auto *label = widget->findChild<QLabel *>(name);
    return label == nullptr ? QString() : label->text();
}

QWidget *DialogWatcher::PageButton(Page page, int index) const
{
    const QWidget *widget = PageWidget(page);
    if (widget == nullptr) {
        return nullptr;
    }
    QList<QAbstractButton *> buttons =
        widget->findChildren<QAbstractButton *>(QStringLiteral("CvCommonLib_Normal_Btn"));
    std::sort(buttons.begin(), buttons.end(),
              [](const QWidget *left, const QWidget *right) { return left->x() < right->x(); });
    return buttons.value(index);
}

QWidget *DialogWatcher::TitleBarCloseButton() const
{
    return m_dialog == nullptr
               ? nullptr
               : m_dialog->findChild<QWidget *>(QStringLiteral("Quillon_TitleBar_CloseBtn"));
}
