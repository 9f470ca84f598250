// SPDX-License-Identifier: MIT

#pragma once

#include "update/plan/Manifest.h"
#include "update/trust/SignedStatement.h"

#include <QByteArray>
#include <QDateTime>
#include <QtGlobal>

#include <optional>

class QXmlStreamWriter;

/// What all manifests of one publication have in common: when it was, and until when it counts.
struct SigningTerm {
    quint64 serial = 0;
    std::optional<QDateTime> expires;
};

/// Writes the element `Signed`.
void gWriteStatement(QXmlStreamWriter &xml, const SignedStatement &statement);

/// @p document, which ends with an element `Signed` as `gWriteStatement` writes it, with another
/// term.
/// @return empty when there is no such element
QByteArray gWithTerm(const QByteArray &document, const SigningTerm &term);

/// Whether both statements are the same but for their terms.
bool gIsSameOffer(const SignedStatement &one, const SignedStatement &other);

/// Whether both statements are the same.
bool gIsSameStatement(const SignedStatement &one, const SignedStatement &other);

/// Whether both manifests offer the same, whenever they were signed.
bool gIsSameOffer(const ManifestValues &one, const ManifestValues &other);
