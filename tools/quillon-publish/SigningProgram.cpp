// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/SigningProgram.h"

#include "tools/quillon-publish/PublishError.h"
#include "tools/quillon-publish/SigningOptions.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>

namespace
{
constexpr int noLimit = -1;

QByteArray gReadPassword(int descriptor)
{
    // As minisign has it, and the line feed.
    constexpr qint64 longestPassword = 1024 + 1;
    // The three standard descriptors stay open: a file that takes their number would be written to.
    constexpr int firstOwn = 3;
    QFile file;
    if (!file.open(descriptor, QIODevice::ReadOnly,
                   descriptor < firstOwn ? QFileDevice::DontCloseHandle
                                         : QFileDevice::AutoCloseHandle)) {
        throw PublishError(QStringLiteral("cannot read the password from descriptor %1: %2")
                               .arg(descriptor)
                               .arg(file.errorString()));
    }
    QByteArray password = file.readLine(longestPassword + 1);
    while (password.endsWith('\n') || password.endsWith('\r')) {
        password.chop(1);
    }
    if (password.isEmpty()) {
        throw PublishError(
            QStringLiteral("there is no password to be read from descriptor %1").arg(descriptor));
    }
    return password;
}

/// @param isSilent the program's own text is not shown: with a password at hand it could repeat it
void gRefuseFailure(const QProcess &process, bool isSilent)
{
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0) {
        return;
    }
    const QString how = process.exitStatus() == QProcess::NormalExit
                            ? QStringLiteral("exit code %1").arg(process.exitCode())
                            : QStringLiteral("it crashed");
    throw PublishError(
        QStringLiteral("minisign failed, %1: %2")
            .arg(how, isSilent
                          ? QStringLiteral("the password may be wrong, or the key cannot be read")
                          : QStringLiteral("its own message stands above")));
}
} // namespace

SigningProgram::SigningProgram(const SigningOptions &options)
    : m_program(options.minisign)
    , m_secretKey(QFileInfo(options.secretKey).absoluteFilePath())
{
    const QFileInfo key(m_secretKey);
    if (!key.isFile() || !key.isReadable()) {
        throw PublishError(QStringLiteral("cannot read the secret key %1").arg(options.secretKey));
    }
    if (options.passwordDescriptor) {
        m_password = gReadPassword(*options.passwordDescriptor);
    }
}

void SigningProgram::Sign(const QStringList &files, const QString &trustedComment) const
{
    QProcess process;
    if (m_password) {
        process.setStandardOutputFile(QProcess::nullDevice());
        process.setStandardErrorFile(QProcess::nullDevice());
    } else {
        process.setInputChannelMode(QProcess::ForwardedInputChannel);
        process.setProcessChannelMode(QProcess::ForwardedChannels);
    }
    // "-H": a signature of the digest, which versions before 0.11 do not make by themselves.
    process.start(m_program, QStringList{QStringLiteral("-S"), QStringLiteral("-H"),
                                         QStringLiteral("-s"), m_secretKey, QStringLiteral("-t"),
                                         trustedComment, QStringLiteral("-m")} +
                                 files);
    if (!process.waitForStarted()) {
        throw PublishError(
            QStringLiteral("cannot start %1: %2").arg(m_program, process.errorString()));
    }
    if (m_password) {
        process.write(*m_password + '\n');
        process.closeWriteChannel();
    }
    process.waitForFinished(noLimit);
    gRefuseFailure(process, m_password.has_value());
}
