// SPDX-License-Identifier: MIT

#include "demo/corvina/DialogScript.h"

#include "demo/corvina/EventWriter.h"
#include "demo/corvina/Screenshots.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QLabel>
#include <QMouseEvent>
#include <QTimer>

namespace
{
QString gPageName(DialogWatcher::Page page)
{
    switch (page) {
    case DialogWatcher::Page::Progress:
        return QStringLiteral("progress");
    case DialogWatcher::Page::Version:
        return QStringLiteral("version");
    case DialogWatcher::Page::Hint:
        return QStringLiteral("hint");
    }
    Q_UNREACHABLE();
}

QString gPictureName(DialogWatcher::Page page, const QString &text)
{
    if (text.startsWith(QLatin1String("Checking"))) {
        return QStringLiteral("progress-checking");
    }
    if (text.startsWith(QLatin1String("Downloading"))) {
        return QStringLiteral("progress-downloading");
    }
    return gPageName(page);
}

QString gAnswerName(DemoOptions::OnPrompt answer)
{
    switch (answer) {
    case DemoOptions::OnPrompt::Yes:
        return QStringLiteral("yes");
    case DemoOptions::OnPrompt::Cancel:
        return QStringLiteral("cancel");
    case DemoOptions::OnPrompt::Wait:
        return QStringLiteral("wait");
    }
    Q_UNREACHABLE();
}

QString gLabelText(const QWidget *box, const QString &name)
{
    const auto *label = box->findChild<QLabel *>(name);
    return label == nullptr ? QString() : label->text();
}

/// Clicks a push button; sends a mouse press to the title bar's button, which is no push button.
void gPressButton(QWidget *button)
{
    if (auto *pushButton = qobject_cast<QAbstractButton *>(button)) {
        pushButton->click();
        return;
    }
    const QPoint centre = button->rect().center();
    QMouseEvent press(QEvent::MouseButtonPress, centre, button->mapToGlobal(centre), Qt::LeftButton,
                      Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(button, &press);
}
} // namespace

DialogScript::DialogScript(const DemoOptions &options, const EventWriter &writer,
                           Screenshots &screenshots, DialogWatcher *watcher)
    : QObject(watcher)
    , m_options(options)
    , m_writer(writer)
    , m_screenshots(screenshots)
    , m_watcher(watcher)
    , m_progress(writer, this)
    , m_gaps(writer, this)
{
    connect(watcher, &DialogWatcher::PageChanged, this, &DialogScript::_PageChanged);
    connect(watcher, &DialogWatcher::ProgressChanged, this, &DialogScript::_ProgressChanged);
    connect(watcher, &DialogWatcher::PromptShown, this, &DialogScript::_PromptShown);
}

void DialogScript::_PageChanged(DialogWatcher::Page page, const QString &text, const QString &html)
{
    Flush();
    QJsonObject values{{QStringLiteral("name"), gPageName(page)}, {QStringLiteral("text"), text}};
    if (page == DialogWatcher::Page::Version) {
        values.insert(QStringLiteral("html"), html);
    }
    m_writer.Write(QStringLiteral("page"), values);
    m_screenshots.Take(m_watcher->Dialog(), gPictureName(page, text));

    if (page == DialogWatcher::Page::Version) {
        BeatFromUpdateNow();
        AnswerVersionPage();
    }
    if (page == DialogWatcher::Page::Hint) {
        EndDownload();
    }
    if (page == DialogWatcher::Page::Hint && m_options.onHint == DemoOptions::OnHint::Close) {
        PressSoon(m_watcher->PageButton(page, 0));
    }
}

/// Before the module hears of the button: it plans the download in its slot, and runs the event loop
/// there.
void DialogScript::BeatFromUpdateNow()
{
    const auto *updateNow =
        qobject_cast<QAbstractButton *>(m_watcher->PageButton(DialogWatcher::Page::Version, 0));
    if (m_options.gaps && updateNow != nullptr) {
        connect(updateNow, &QAbstractButton::pressed, &m_gaps, &HeartbeatGaps::Begin,
                Qt::UniqueConnection);
    }
}

void DialogScript::AnswerVersionPage()
{
    const DialogWatcher::Page page = DialogWatcher::Page::Version;
    switch (m_options.onVersion) {
    case DemoOptions::OnVersion::Update:
        PressSoon(m_watcher->PageButton(page, 0));
        break;
    case DemoOptions::OnVersion::Remind:
        PressSoon(m_watcher->PageButton(page, 1));
        break;
    case DemoOptions::OnVersion::Close:
        PressSoon(m_watcher->TitleBarCloseButton());
        break;
    case DemoOptions::OnVersion::Wait:
        break;
    }
}

void DialogScript::_ProgressChanged(int value, int maximum, const QString &text)
{
    m_progress.Add(value, maximum, text);
    if (!m_halfwayTaken && value >= maximum / 2) {
        m_halfwayTaken = true;
        // From the event loop, when the label beside the bar has its new percentage.
        QTimer::singleShot(0, this, [this] {
            m_screenshots.Take(m_watcher->Dialog(), QStringLiteral("progress-halfway"));
        });
    }
    if (m_closed) {
        return;
    }
    const auto reached = [value](qint64 bytes) { return bytes >= 0 && value >= bytes; };
    m_closed = reached(m_options.closeAtBytes) || reached(m_options.titleBarCloseAtBytes);
    if (reached(m_options.closeAtBytes)) {
        PressSoon(m_watcher->PageButton(DialogWatcher::Page::Progress, 0));
    } else if (reached(m_options.titleBarCloseAtBytes)) {
        PressSoon(m_watcher->TitleBarCloseButton());
    }
}

void DialogScript::_PromptShown(QWidget *box)
{
    Flush();
    EndDownload();
    const QString text = gLabelText(box, QStringLiteral("CvMessageBox_TextLabel"));
    m_writer.Write(
        QStringLiteral("prompt"),
        {{QStringLiteral("title"), gLabelText(box, QStringLiteral("CvMessageBox_TitleLabel"))},
         {QStringLiteral("text"), text},
         {QStringLiteral("answer"), gAnswerName(m_options.onPrompt)}});
    m_screenshots.Take(box, QStringLiteral("prompt"));

    auto *yes = box->findChild<QAbstractButton *>(QStringLiteral("CvMessageBox_YesBtn"));
    if (yes != nullptr) {
        connect(yes, &QAbstractButton::clicked, this, &DialogScript::InstallAgreed);
    }
    switch (m_options.onPrompt) {
    case DemoOptions::OnPrompt::Yes:
        PressSoon(yes);
        break;
    case DemoOptions::OnPrompt::Cancel:
        PressSoon(box->findChild<QAbstractButton *>(QStringLiteral("CvMessageBox_CancelBtn")));
        break;
    case DemoOptions::OnPrompt::Wait:
        break;
    }
}

/// Presses @p button from the event loop, as a user does: this may be called from within a signal
/// of the module.
void DialogScript::PressSoon(QWidget *button)
{
    if (button == nullptr) {
        qWarning("the button to press is not there");
        return;
    }
    QTimer::singleShot(0, button, [button] { gPressButton(button); });
}
