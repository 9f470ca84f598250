// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/NetworkCheck.h"

#include <QThread>
#include <QTimer>

NetworkCheck::NetworkCheck(std::chrono::milliseconds interval)
    : m_thread(new QThread)
    , m_timer(new QTimer(this))
{
    m_timer->setInterval(interval);
    connect(m_timer, &QTimer::timeout, this, [this] { emit TimeOut(); });
    m_thread->start();
    moveToThread(m_thread);
}

NetworkCheck::~NetworkCheck()
{
    // Only the thread of a timer can stop it, and only the thread of an object can move it away.
    QThread *const caller = QThread::currentThread();
    QMetaObject::invokeMethod(
        this,
        [this, caller] {
            m_timer->stop();
            moveToThread(caller);
        },
        Qt::BlockingQueuedConnection);
    m_thread->quit();
    m_thread->wait();
    delete m_thread;
}

void NetworkCheck::_StopCheck()
{
    m_timer->stop();
}

void NetworkCheck::_Check()
{
    m_timer->start();
}
