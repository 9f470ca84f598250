// SPDX-License-Identifier: MIT

#pragma once

#include <QNetworkRequest>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QUrl>

class QNetworkAccessManager;
class QNetworkReply;
class QSettings;
class VersionInfo;

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
/// Thread:    GUI thread.
/// Ownership: its Qt parent. The manifest outlives it. The host may delete it in any slot.
/// Errors:    signals; the log says why.
class VersionCheck : public QObject
{
    Q_OBJECT

public:
    /// @param urlTemplate see `gBuildCheckUrl`
    /// @param manifest    receives every manifest that is fetched
    VersionCheck(const QString &urlTemplate, VersionInfo *manifest, QObject *parent);
    ~VersionCheck() override;

    QUrl Address(const QueryValues &values) const;

    /// Gives up the request that is under way, if there is one; it emits nothing any more.
    void GiveUp();

    /// Sends the request; one that is still under way is given up.
    void Start(const QueryValues &values);

    /// Blocks for at most 5000 ms, with the time to read and to parse the answer.
    /// @return whether a newer version exists; false on any failure
    bool AskSilently(const QueryValues &values);

    /// Reads the answer once, at its first bytes and up to 1 MiB; later bytes are dropped with the
    /// reply.
    void ReadAnswer();

    /// Reports a reply that has ended with an error; one without is left to `ReadAnswer`.
    void ReportEnd(QNetworkReply *reply);

signals:
    void AnswerBegun();
    void Answered();
    /// The server's certificate was not accepted.
    void Untrusted();
    /// A network error, an error status, or an untrusted server. An error page has begun as an
    /// answer before.
    void Failed();

private:
    QString m_urlTemplate;
    VersionInfo *m_manifest;
    QNetworkAccessManager *m_network;
    QNetworkRequest m_request;
    QPointer<QNetworkReply> m_reply;
};
