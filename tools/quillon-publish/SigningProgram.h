// SPDX-License-Identifier: MIT

#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

struct SigningOptions;

/// The program minisign with a secret key.
///
/// The password of the key is asked for by the program itself, on the terminal, or it is read from
/// a descriptor and handed to the program's standard input. It stands in no command line and in no
/// message: what the program says is not shown then.
class SigningProgram
{
public:
    /// Reads the password, and closes its descriptor, so that no other program inherits it.
    /// @throws PublishError when the secret key or the password cannot be read
    explicit SigningProgram(const SigningOptions &options);

    /// Signs all @p files with one run. Each signature stands beside its file, with ".minisig"
    /// behind the name.
    /// @param trustedComment one line that is signed with each of them
    /// @throws PublishError
    void Sign(const QStringList &files, const QString &trustedComment) const;

private:
    QString m_program;
    QString m_secretKey;
    std::optional<QByteArray> m_password;
};
