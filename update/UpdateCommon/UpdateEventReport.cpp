// SPDX-License-Identifier: MIT

#include "update/UpdateCommon/UpdateEventReport.h"

#include "api/ProductSettings.h"
#include "api/QuillonInit.h"
#include "platform/StayLoaded.h"
#include "update/report/ClientIdentity.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QEventLoop>
#include <QMutexLocker>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QSslConfiguration>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <map>

namespace
{
constexpr int limitMs = 5000;
constexpr int statusReceived = 200;

class ProcessReports : public EventSink
{
public:
    explicit ProcessReports(const QString &configDirectory)
        : m_configDirectory(configDirectory)
    {
    }
    void SetReportInfo(const QString &oldVersion, const QString &newVersion,
                       const QString &packageType) override
    {
        UpdateEventReport::GetInstance()->SetReportInfo(oldVersion, newVersion, packageType);
    }
    void ReportEvent(EventType type) override
    {
        UpdateEventReport::GetInstance()->ReportEvent(type, m_configDirectory);
    }
    void WaitForReports() override { UpdateEventReport::GetInstance()->WaitForReports(); }

private:
    QString m_configDirectory;
};

/// Once the application object is gone, Qt delivers no events on threads: a report that is still on its
/// way would never end, and the process would wait for its thread for ever.
void gWaitAtTheEnd()
{
    UpdateEventReport::GetInstance()->WaitForReports();
}

/// Makes what the network layer and its TLS library make once, at their first use, and take down when
/// the process calls `exit`, the latest first. What is older than the reports outlives them: a process
/// that ends in the middle waits for its report, which would crash without it.
void gMakeNetworkGlobals()
{
    const QNetworkAccessManager manager;
    QSslConfiguration::defaultConfiguration();
}
} // namespace

EventSink &gProcessReports(const QString &configDirectory)
{
    static std::map<QString, ProcessReports> reports;
    return reports.try_emplace(configDirectory, configDirectory).first->second;
}

UpdateEventReport *UpdateEventReport::GetInstance()
{
    static UpdateEventReport instance;
    return &instance;
}

UpdateEventReport::UpdateEventReport()
    : m_uid(ClientIdentity().GetClientSign(QStringLiteral("Halvard")))
    , m_pid(ProductId(InstallLanguage()))
{
    gStayLoaded();
    gMakeNetworkGlobals();
}

UpdateEventReport::~UpdateEventReport()
{
    qRemovePostRoutine(gWaitAtTheEnd);
    UpdateEventReport::WaitForReports();
}

void UpdateEventReport::SetReportInfo(const QString &oldVersion, const QString &newVersion,
                                      const QString &packageType)
{
    const QMutexLocker locker(&m_mutex);
    m_oldVersion = oldVersion;
    m_newVersion = newVersion;
    m_packageType = packageType;
}

void UpdateEventReport::ReportEvent(EventType type)
{
    ReportEvent(type, QuillonInit::GetConfigFileDir());
}

void UpdateEventReport::ReportEvent(EventType type, const QString &configDirectory)
{
    // A report that has just ended may still have others waiting behind it: they keep their place.
    if (m_inFlight > 0 || !m_pending.isEmpty()) {
        m_pending.append({type, configDirectory});
    } else {
        StartReport({type, configDirectory}, true);
    }
}

void UpdateEventReport::WaitForReports()
{
    for (const auto &thread : m_threads) {
        thread->wait();
    }
}

void UpdateEventReport::StartReport(const Event &event, bool firstAttempt)
{
    if (QCoreApplication::instance() == nullptr) {
        return; // see gWaitAtTheEnd
    }
    m_configDirectory = event.configDirectory;
    {
        const QMutexLocker locker(&m_mutex);
        m_host = gStatisticsHost(event.configDirectory);
    }
    m_threads.erase(std::remove_if(m_threads.begin(), m_threads.end(),
                                   [](const auto &thread) { return thread->isFinished(); }),
                    m_threads.end());
    // Anew for each report: Qt forgets it with the application object, and a process may have one after
    // the other.
    qRemovePostRoutine(gWaitAtTheEnd);
    qAddPostRoutine(gWaitAtTheEnd);
    ++m_inFlight;
    m_threads.emplace_back(
        QThread::create([this, type = event.type, firstAttempt] { Report(type, firstAttempt); }));
    m_threads.back()->start();
}

EventRecord UpdateEventReport::MakeRecord(EventType type)
{
    EventRecord record;
    record.pid = m_pid;
    record.oldVersion = m_oldVersion;
    record.newVersion = m_newVersion;
    record.packageType = m_packageType;
    record.uid = m_uid;
    record.result = type;
    record.time = static_cast<quint32>(QDateTime::currentSecsSinceEpoch());
    return record;
}

void UpdateEventReport::Report(EventType type, bool firstAttempt)
{
    QNetworkRequest request;
    {
        const QMutexLocker locker(&m_mutex);
        request.setUrl(gEventRecordUrl(m_host, gEventRecordJson(MakeRecord(type))));
    }
    bool ok = false;
    {
        QNetworkAccessManager manager;
        QEventLoop loop;
        QTimer timer;
        timer.setSingleShot(true);
        timer.setTimerType(Qt::PreciseTimer); // the coarse ones may be a quarter of a second early
        QNetworkReply *reply = manager.get(request);
        connect(reply, &QNetworkReply::finished, &loop, [&ok, &loop, reply] {
            const QVariant status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute);
            ok = status.toInt() == statusReceived;
            loop.quit();
        });
        connect(&timer, SIGNAL(timeout()), &loop, SLOT(quit()));
        timer.start(limitMs);
        loop.exec();
        if (!timer.isActive()) {
            reply->disconnect(&loop);
            reply->abort();
            ok = false;
        }
        timer.stop();
    }
    // The second attempt is the last one, whatever came of it.
    const bool outcome = ok || !firstAttempt;
    --m_inFlight;
    QMetaObject::invokeMethod(this, "_ReportFinished", Qt::QueuedConnection, Q_ARG(bool, outcome),
                              Q_ARG(int, static_cast<int>(type)));
}

void UpdateEventReport::_ReportFinished(bool result, int type)
{
    if (!result) {
        StartReport({static_cast<EventType>(type), m_configDirectory}, false);
    } else if (!m_pending.isEmpty()) {
        StartReport(m_pending.takeFirst(), true);
    }
}
