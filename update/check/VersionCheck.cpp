// SPDX-License-Identifier: MIT

#include "update/check/VersionCheck.h"

#include "api/Log.h"
#include "api/ProductSettings.h"
#include "api/UpdateInit.h"
#include "update/base/AnswerSizeLimit.h"
#include "update/base/DeferredDeletion.h"
#include "update/base/DownloadSystem.h"
#include "update/base/NetworkFailure.h"
#include "update/base/UpdateContext.h"
#include "update/check/CheckUrl.h"
#include "update/plan/Manifest.h"
#include "update/UpdateCommon/NetworkAccessManagerTimeout.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSettings>
#include <QTimer>

#include <memory>

namespace
{
constexpr char logFile[] = "LiveUpdateMgr";

/// What the thread of a silent check has read.
struct SilentAnswer {
    ManifestValues values;
    /// With public keys; otherwise nothing is verified.
    std::optional<TrustedManifest> trusted;
    QString refusal;
};

/// Gives @p reply up when it has not ended after @p limit. With @p everyByte the time begins anew with every
/// byte that arrives.
void gLimitTime(QNetworkReply *reply, std::chrono::milliseconds limit, bool everyByte)
{
    auto *timer = new QTimer(reply);
    timer->setSingleShot(true);
    QObject::connect(timer, &QTimer::timeout, reply, [reply] {
        QUILLON_LOG(logFile, "LiveUpdateMgr::CheckVersion", "stall, the answer is given up, %s",
                    gLogAddress(reply->url()).toStdString().c_str());
        reply->abort();
    });
    QObject::connect(reply, &QNetworkReply::finished, timer, &QTimer::stop);
    if (everyByte) {
        QObject::connect(reply, &QNetworkReply::readyRead, timer, [timer] { timer->start(); });
    }
    timer->start(limit);
}
} // namespace

QueryValues gGatherQueryValues(QSettings *productSettings)
{
    productSettings->beginGroup(QLatin1String(ProductSettings::quillonGroup));
    QueryValues values{
        ProductId(InstallLanguage()),
        UpdateInit::GetUpdateVersion(),
        productSettings->value(QLatin1String(ProductSettings::emailKey)).toString(),
    };
    productSettings->endGroup();
    return values;
}

VersionCheck::VersionCheck(const QString &urlTemplate, VersionInfo *manifest,
                           const UpdateContext &context, QObject *parent)
    : QObject(parent)
    , m_urlTemplate(urlTemplate)
    , m_manifest(manifest)
    , m_system(context.system)
    , m_trust(context)
    , m_network(new QNetworkAccessManager(this))
    , m_request(QUrl())
{
    // Of the latest check alone: the failure of an older one would be shown as that of the newer.
    connect(m_network, &QNetworkAccessManager::finished, this, [this](QNetworkReply *reply) {
        if (reply == m_reply) {
            ReportEnd(reply);
        }
    });
    connect(m_network, &QNetworkAccessManager::sslErrors, this, [this](QNetworkReply *reply) {
        if (reply == m_reply) {
            emit Failed();
        }
    });
}

VersionCheck::~VersionCheck()
{
    m_network->disconnect(this);
    gDeleteLater(m_network);
}

QUrl VersionCheck::Address(const QueryValues &values) const
{
    return gBuildCheckUrl(m_urlTemplate, values.pid, values.version, values.email);
}

void VersionCheck::GiveUp()
{
    if (m_reply != nullptr) {
        m_reply->disconnect(this);
        m_reply->deleteLater();
        m_reply.clear();
    }
}

void VersionCheck::Start(const QueryValues &values)
{
    GiveUp();
    m_version = values.version;
    m_request.setUrl(Address(values));
    m_reply = m_network->get(m_request);
    connect(m_reply, &QNetworkReply::sslErrors, this, [this](const QList<QSslError> &errors) {
        gLogTlsErrors(logFile, "LiveUpdateMgr::CheckVersion", errors);
        emit Untrusted();
    });
    if (m_trust.IsOn()) {
        LimitAnswer(m_reply);
    } else {
        connect(m_reply, &QNetworkReply::readyRead, this, &VersionCheck::ReadAnswer);
    }
}

/// A signed answer is waited for until it ends.
void VersionCheck::LimitAnswer(QNetworkReply *reply)
{
    gLimitAnswer(reply, logFile, "LiveUpdateMgr::CheckVersion");
    gLimitTime(reply, m_system.stallLimit, true);
    gLimitTime(reply, m_system.answerLimit, false);
}

bool VersionCheck::AskSilently(const QueryValues &values)
{
    constexpr int limitMs = 5000;

    m_request.setUrl(Address(values));
    auto *runner = new NetworkAccessManagerTimeout; // deletes itself
    // Shared: the runner may still write to it when it was given up.
    const auto answer = std::make_shared<SilentAnswer>();
    const bool isTrustOn = m_trust.IsOn();
    const auto read = [answer, isTrustOn, keys = m_trust.Keys()](const QByteArray &text) {
        if (isTrustOn) {
            answer->trusted = gReadTrustedManifest(text, keys, &answer->refusal);
        } else {
            answer->values = gReadManifest(QString::fromUtf8(text));
        }
    };
    const QByteArray body = runner->Get(m_request, limitMs, read);
    if (body.isEmpty()) {
        return false;
    }
    if (!isTrustOn) {
        m_manifest->SetManifest(QString::fromUtf8(body), answer->values);
    } else if (IsAccepted(answer->trusted, values.version, answer->refusal)) {
        m_manifest->SetManifest(answer->trusted->xml, answer->trusted->values);
    } else {
        return false;
    }
    return m_manifest->HasExeUrl();
}

void VersionCheck::ReadAnswer()
{
    constexpr char function[] = "LiveUpdateMgr::OnCheckReplyReady";
    constexpr int firstErrorStatus = 400;

    if (m_trust.IsOn()) {
        return; // Not before it has ended.
    }
    const QPointer<VersionCheck> alive(this);
    const QPointer<QNetworkReply> reply = m_reply;
    emit AnswerBegun();
    if (alive == nullptr || reply == nullptr || reply != m_reply) {
        return; // A slot deleted this object, or started another check.
    }
    const QByteArray body = m_reply->read(mostAnswerBytes);
    m_reply->disconnect(this);
    if (m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt() < firstErrorStatus) {
        m_reply->deleteLater();
    } else {
        // The error is reported when its page ends, and a page without an end is given up.
        gLimitAnswer(m_reply, logFile, function);
        connect(m_reply, &QNetworkReply::finished, m_reply, &QObject::deleteLater);
    }
    m_manifest->setXml(QString::fromUtf8(body));
    emit Answered();
}

void VersionCheck::ReportEnd(QNetworkReply *reply)
{
    constexpr char function[] = "LiveUpdateMgr::OnRequestFinished";

    if (reply->error() == QNetworkReply::NoError) {
        if (m_trust.IsOn()) {
            JudgeAnswer(reply);
        }
        return;
    }
    QUILLON_LOG(logFile, function, "check failed, error code %d", static_cast<int>(reply->error()));
    gLogFailure(logFile, function, *reply);
    emit Failed();
}

void VersionCheck::JudgeAnswer(QNetworkReply *reply)
{
    const QByteArray body = reply->read(mostAnswerBytes + 1);
    reply->deleteLater();
    QString refusal = QStringLiteral("the answer is longer than %1 bytes").arg(mostAnswerBytes);
    std::optional<TrustedManifest> manifest;
    if (body.size() <= mostAnswerBytes) {
        manifest = gReadTrustedManifest(body, m_trust.Keys(), &refusal);
    }
    if (!IsAccepted(manifest, m_version, refusal)) {
        emit Failed();
        return;
    }
    const QPointer<VersionCheck> alive(this);
    emit AnswerBegun();
    if (alive != nullptr && reply == m_reply) {
        m_manifest->SetManifest(manifest->xml, manifest->values);
        emit Answered();
    }
}

/// Whether a manifest was verified, and is for this client and for now; otherwise the log says why not.
bool VersionCheck::IsAccepted(const std::optional<TrustedManifest> &manifest,
                              const QString &version, QString refusal) const
{
    if (manifest && m_trust.Accept(*manifest->values.statement, version, &refusal)) {
        return true;
    }
    QUILLON_LOG(logFile, "LiveUpdateMgr::CheckVersion", "the manifest is refused, %s",
                refusal.toStdString().c_str());
    return false;
}
