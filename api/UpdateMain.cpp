// SPDX-License-Identifier: MIT

#include "api/UpdateMain.h"

#include "ui/UpdateMainImpl.h"

#include <QHBoxLayout>

#include <utility>

namespace
{
// Hosts import these two inline functions by name, too; the compiler emits one only when it is
// used. tests/api/CompareExports.cmake compares the exports with a list.
QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED
[[gnu::used]] QString (*const inlineMembers[])(const char *, const char *,
                                               int) = {&UpdateMain::tr, &UpdateMain::trUtf8};
QT_WARNING_POP
} // namespace

UpdateMain::UpdateMain(QWidget *parent)
    : ShadowDialog(parent)
{
    setAttribute(Qt::WA_StyledBackground);
    setWindowFlags(windowFlags() | Qt::FramelessWindowHint);
    // The size until the first page switch, which sets the size of the page.
    resize(570, 250);
    setModal(true);

    m_impl = new UpdateMainImpl(nullptr);
    installEventFilter(m_impl);
    auto *layout = new QHBoxLayout(this);
    layout->addWidget(m_impl);
    const int border = gGetSystemBorder();
    layout->setContentsMargins(border, border, border, border);

    // Slots run in the order of their connections: the host's see the dialog open, then it closes.
    connect(m_impl, &UpdateMainImpl::Close, this, &UpdateMain::Close);
    connect(m_impl, &UpdateMainImpl::Close, this, &UpdateMain::close);
    connect(m_impl, &UpdateMainImpl::BeginInstall, this, &UpdateMain::BeginInstall);
    connect(m_impl, &UpdateMainImpl::CancelInstall, this, &UpdateMain::CancelInstall);
    connect(m_impl, &UpdateMainImpl::CancelInstall, this, &UpdateMain::close);
    connect(m_impl, &UpdateMainImpl::InstallStarted, this, &UpdateMain::InstallStarted);
    connect(m_impl, &UpdateMainImpl::InstallStarted, this, &UpdateMain::close);
    connect(m_impl, &UpdateMainImpl::RemindMeLater, this, &UpdateMain::RemindMeLater);
    connect(m_impl, &UpdateMainImpl::RemindMeLater, this, &UpdateMain::close);
    connect(m_impl, &UpdateMainImpl::Resize, this, [this](QSize size) { resize(size); });
    connect(m_impl, &UpdateMainImpl::Move, this, [this](int dx, int dy) {
        const QRect now = geometry();
        setGeometry(now.x() + dx, now.y() + dy, now.width(), now.height());
    });
}

UpdateMain::~UpdateMain() = default;

void UpdateMain::LiveUpdate(QString pid, QString version, QString email)
{
    show();
    m_impl->LiveUpdate(std::move(pid), std::move(version), std::move(email));
}

void UpdateMain::LiveUpdate()
{
    show();
    m_impl->LiveUpdate();
}

bool UpdateMain::IsNeedUpdate()
{
    return m_impl->IsNeedUpdate();
}

void UpdateMain::Install()
{
    m_impl->Install();
}
