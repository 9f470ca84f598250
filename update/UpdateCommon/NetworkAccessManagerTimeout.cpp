// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/NetworkAccessManagerTimeout.h"

#include "api/Log.h"
#include "platform/StayLoaded.h"
#include "update/base/AnswerSizeLimit.h"
#include "update/base/NetworkFailure.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkReply>

NetworkAccessManagerTimeout::NetworkAccessManagerTimeout(QObject *parent)
    : QThread(parent)
{
    // Also reclaims a runner that was given up on, once its late thread has ended.
    connect(this, &QThread::finished, this, &QObject::deleteLater);
}

QByteArray NetworkAccessManagerTimeout::Get(const QNetworkRequest &request, int msecs,
                                            const Reader &read)
{
    gStayLoaded(); // a thread that was given up on may run for hours
    m_request = request;
    m_read = read;
    m_started = true;
    start(QThread::InheritPriority);
    if (!wait(static_cast<unsigned long>(msecs))) {
        QUILLON_LOG("UpdateCommon", "NetworkAccessManagerTimeout::Get",
                    "stall, no answer within %d ms, %s", msecs,
                    gLogAddress(request.url()).toStdString().c_str());
        // The thread still runs and owns the result; it must not be read here.
        return {};
    }
    return m_data;
}

void NetworkAccessManagerTimeout::run()
{
    QNetworkAccessManager manager;
    QEventLoop loop;
    QObject::connect(&manager, SIGNAL(finished(QNetworkReply *)), &loop, SLOT(quit()));
    m_reply = manager.get(m_request);
    gLimitAnswer(m_reply, "UpdateCommon", "NetworkAccessManagerTimeout::run");
    loop.exec();
    if (m_reply->error() == QNetworkReply::NoError) {
        m_data = m_reply->readAll();
        if (m_read) {
            m_read(m_data);
        }
    } else {
        gLogFailure("UpdateCommon", "NetworkAccessManagerTimeout::run", *m_reply);
    }
}
