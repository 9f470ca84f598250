// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

#include <optional>

class QCommandLineParser;

/// The part of the command line that says how manifests are signed.
struct SigningOptions {
    /// The secret key's file. Empty: nothing is signed.
    QString secretKey;
    /// Public keys as text, or files with one. Empty: the file beside the secret key.
    QStringList publicKeys;
    /// Without it signatures do not expire.
    std::optional<int> expiresInDays;
    /// A path or a name to be found in PATH.
    QString minisign;
    /// The descriptor that the password is read from. Without it the program asks by itself.
    std::optional<int> passwordDescriptor;

    bool IsSigned() const { return !secretKey.isEmpty(); }

    static void AddTo(QCommandLineParser &parser);

    /// @param error receives a line for the user when the command line is wrong
    static SigningOptions Read(const QCommandLineParser &parser, QString *error);
};
