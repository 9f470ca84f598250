// SPDX-License-Identifier: MIT

#pragma once

#include "update/check/ManifestTrust.h"
#include "update/check/TrustedManifest.h"

#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

#include <optional>

class QNetworkAccessManager;
class QNetworkReply;
class QSettings;
class VersionInfo;
struct UpdateContext;

/// What a check tells the service about the host and its user.
struct QueryValues {
    QString pid;
    QString version;
    QString email;
};

/// The values that the module finds by itself: the product identifier of the customisation, the
/// host's version, and the e-mail address in @p productSettings.
QueryValues gGatherQueryValues(QSettings *productSettings);

/// Asks the update service for its manifest and has it parsed.
///
///     Start ─► GET ─► AnswerBegun ─► the manifest is parsed ─► Answered
///                └─► Untrusted, Failed
///     AskSilently: the same, blocking, with a limit and without signals
///
/// With public keys the whole answer is waited for, and verified before it is parsed:
///
///     Start ─► GET ─► the answer ends ─► verified, judged ─► AnswerBegun ─► Answered
///                └─► Untrusted, Failed ◄───────┘ refused
///
/// Thread:    GUI thread.
/// Ownership: its Qt parent. The manifest outlives it. The host may delete it in any slot.
/// Errors:    signals; the log says why.
class VersionCheck : public QObject
{
    Q_OBJECT

public:
    /// @param urlTemplate see `gBuildCheckUrl`
    /// @param manifest    receives every manifest that is fetched
    VersionCheck(const QString &urlTemplate, VersionInfo *manifest, const UpdateContext &context,
                 QObject *parent);
    ~VersionCheck() override;

    QUrl Address(const QueryValues &values) const;

    /// Gives up the request that is under way, if there is one; it emits nothing any more.
    void GiveUp();

    /// Sends the request; one that is still under way is given up.
    void Start(const QueryValues &values);

    /// Blocks for at most 5000 ms, with the time to read and to parse the answer. With public keys another
    /// process that remembers a serial is waited for as well, a second at most.
    /// @return whether a newer version exists; false on any failure
    bool AskSilently(const QueryValues &values);

    /// Whether manifests have to be signed.
    const ManifestTrust &Trust() const { return m_trust; }

    /// Reads the answer once, at its first bytes and up to 1 MiB; later bytes are dropped with the
    /// reply. With public keys nothing is read before the answer has ended.
    void ReadAnswer();

    /// Reports a reply that has ended with an error; one without is left to `ReadAnswer` or, with public
    /// keys, judged here.
    void ReportEnd(QNetworkReply *reply);

signals:
    void AnswerBegun();
    void Answered();
    /// The server's certificate was not accepted.
    void Untrusted();
    /// A network error, an error status, an untrusted server, or a manifest that was refused. An error
    /// page has begun as an answer before.
    void Failed();

private:
    void LimitAnswer(QNetworkReply *reply);
    void JudgeAnswer(QNetworkReply *reply);
    bool IsAccepted(const std::optional<TrustedManifest> &manifest, const QString &version,
                    QString refusal) const;

    QString m_urlTemplate;
    VersionInfo *m_manifest;
    const DownloadSystem &m_system;
    ManifestTrust m_trust;
    /// What the service was told of the host's version by the latest check.
    QString m_version;
    QNetworkAccessManager *m_network;
    QNetworkRequest m_request;
    QPointer<QNetworkReply> m_reply;
};
