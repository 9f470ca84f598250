// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/Manifest.h"
#include "update/trust/MinisignKey.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

/// A manifest whose signature was verified.
struct TrustedManifest {
    /// Without the signature.
    QString xml;
    /// With a statement.
    ManifestValues values;
};

/// Verifies the answer of a service, and only then reads the manifest out of it. What the manifest offers and
/// what its statement names have to be the same packages.
///
/// Thread: any. @param refusal receives the rule that was broken, for the log
std::optional<TrustedManifest>
gReadTrustedManifest(const QByteArray &answer, const QList<MinisignKey> &keys, QString *refusal);
