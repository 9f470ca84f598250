// SPDX-License-Identifier: MIT

#include "update/check/VersionCheck.h"

#include "api/Log.h"
#include "api/ProductSettings.h"
#include "api/UpdateInit.h"
#include "update/base/AnswerSizeLimit.h"
#include "update/base/DeferredDeletion.h"
#include "update/base/NetworkFailure.h"
#include "update/check/CheckUrl.h"
#include "update/plan/Manifest.h"
#include "update/UpdateCommon/NetworkAccessManagerTimeout.h"
#include "update/UpdateCommon/VersionInfo.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QSettings>

#include <memory>

namespace
{
constexpr char logFile[] = "LiveUpdateMgr";
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

VersionCheck::VersionCheck(const QString &urlTemplate, VersionInfo *manifest, QObject *parent)
    : QObject(parent)
    , m_urlTemplate(urlTemplate)
    , m_manifest(manifest)
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
    m_request.setUrl(Address(values));
    m_reply = m_network->get(m_request);
    connect(m_reply, &QNetworkReply::sslErrors, this, [this](const QList<QSslError> &errors) {
        gLogTlsErrors(logFile, "LiveUpdateMgr::CheckVersion", errors);
        emit Untrusted();
    });
    connect(m_reply, &QNetworkReply::readyRead, this, &VersionCheck::ReadAnswer);
}

bool VersionCheck::AskSilently(const QueryValues &values)
{
    constexpr int limitMs = 5000;

    m_request.setUrl(Address(values));
    auto *runner = new NetworkAccessManagerTimeout; // deletes itself
    // Shared: the runner may still write to it when it was given up.
    const auto manifest = std::make_shared<ManifestValues>();
    const QByteArray body = runner->Get(m_request, limitMs, [manifest](const QByteArray &text) {
        *manifest = gReadManifest(QString::fromUtf8(text));
    });
    if (body.isEmpty()) {
        return false;
    }
    m_manifest->SetManifest(QString::fromUtf8(body), *manifest);
    return m_manifest->HasExeUrl();
}

void VersionCheck::ReadAnswer()
{
    constexpr char function[] = "LiveUpdateMgr::OnCheckReplyReady";
    constexpr int firstErrorStatus = 400;

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
        return;
    }
    QUILLON_LOG(logFile, function, "check failed, error code %d", static_cast<int>(reply->error()));
    gLogFailure(logFile, function, *reply);
    emit Failed();
}
