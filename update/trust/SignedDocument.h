// SPDX-License-Identifier: MIT

#pragma once

#include "update/trust/MinisignKey.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <optional>

/// A document that carries its signature as its last node, a comment of XML:
///
///     signed bytes            all bytes before the comment
///     <!--minisign
///     untrusted comment: …    the four lines of a signature file of minisign
///     RU…                     "ED", the key's number, Ed25519 signature of the BLAKE2b-512 of the bytes
///     trusted comment: …
///     …                       Ed25519 signature of the signature above and the trusted comment
///     -->                     and an optional line feed
///
/// Who knows nothing of it reads the document as before. docs/trust.md is the page of the format.

/// The signed bytes of @p document, which is not parsed for it: its end alone is looked at.
///
/// The word "<!--minisign" may stand once in the document, and nothing behind the comment. Signatures that
/// were not made of a digest ("Ed") are refused.
///
/// Thread: any.
/// @param refusal receives the rule that was broken, for the log
/// @return nothing unless one of @p keys has signed exactly these bytes
std::optional<QByteArray> gVerifyDocument(const QByteArray &document,
                                          const QList<MinisignKey> &keys, QString *refusal);

/// @p document with the four lines of @p signatureFile behind it. It is not verified.
QByteArray gWithSignature(const QByteArray &document, const QByteArray &signatureFile);

/// What stands before the signature of @p document, or all of it. Nothing is verified.
QByteArray gWithoutSignature(const QByteArray &document);
