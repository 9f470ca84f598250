// SPDX-License-Identifier: MIT

#pragma once

#include "update/trust/MinisignKey.h"
#include "update/trust/SignedStatement.h"
#include "update/trust/TrustRecord.h"

#include <QList>
#include <QString>

struct DownloadSystem;
struct UpdateContext;

/// Whether manifests have to be signed, by whom, and whether a signed one is for this client and for now.
///
/// Thread: GUI thread. Ownership: its user. The context's system outlives it.
class ManifestTrust
{
public:
    explicit ManifestTrust(const UpdateContext &context);

    /// The host has set keys, of which perhaps none is one.
    bool IsOn() const { return m_isOn; }
    const QList<MinisignKey> &Keys() const { return m_keys; }

    /// Judges the statement of a manifest whose signature was verified, and remembers its serial, so that an
    /// older manifest is refused from now on.
    /// @param version what the service was told of the host's version
    /// @param refusal receives the rule that was broken, for the log
    /// @return false also when the serial cannot be remembered
    bool Accept(const SignedStatement &statement, const QString &version, QString *refusal) const;

private:
    bool Remember(const SignedStatement &statement, const QDateTime &now, TrustRecord record) const;

    bool m_isOn;
    QList<MinisignKey> m_keys;
    const DownloadSystem &m_system;
    QString m_settingsFile;
};
