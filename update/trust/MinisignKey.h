// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <optional>

/// A public key of minisign: "RW…", the base64 form of 42 bytes. They are "Ed", eight bytes by which a
/// signature names its key, and the Ed25519 public key.
struct MinisignKey {
    QByteArray id;
    QByteArray key;
};

/// The key that @p text is; none for any other text. Thread: any.
std::optional<MinisignKey> gReadMinisignKey(const QString &text);

/// The keys of a list. One that is none is logged, and left out. Thread: any.
QList<MinisignKey> gReadMinisignKeys(const QStringList &texts);
