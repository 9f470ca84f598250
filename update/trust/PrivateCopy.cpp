// SPDX-License-Identifier: MIT

#include "update/trust/PrivateCopy.h"

#include "platform/PrivateFolder.h"
#include "platform/RegularFile.h"
#include "update/trust/Sha256.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QUuid>

#include <algorithm>
#include <new>

namespace
{
const QString prefix = QStringLiteral("Corvina-");
const QString lockSuffix = QStringLiteral(".lock");

/// Copies until the end of @p from, or one byte behind @p mostBytes. @param source the name of @p from, which it
/// does not know
bool gCopy(const QString &source, QFile &from, QFile &to, qint64 mostBytes,
           PrivateCopy::Outcome *outcome)
{
    constexpr qint64 chunk = qint64{256} * 1024;

    const std::unique_ptr<char[]> bytes(new (std::nothrow) char[static_cast<std::size_t>(chunk)]);
    if (bytes == nullptr) {
        outcome->failure = QStringLiteral("out of memory");
        return false;
    }
    Sha256 digest;
    while (outcome->size <= mostBytes) {
        const qint64 room = mostBytes + 1 - outcome->size;
        const qint64 size = from.read(bytes.get(), std::min(chunk, room));
        if (size < 0) {
            outcome->failure = source + QStringLiteral(": ") + from.errorString();
            return false;
        }
        if (size == 0) {
            break;
        }
        if (to.write(bytes.get(), size) != size) {
            outcome->failure = to.fileName() + QStringLiteral(": ") + to.errorString();
            return false;
        }
        digest.Add(bytes.get(), size);
        outcome->size += size;
    }
    outcome->sha256 = digest.Hex();
    return true;
}

/// The host may have folders of its own beside the copies: none of another name is touched.
QRegularExpression gNameOfCopy()
{
    return QRegularExpression(QStringLiteral("\\A") + prefix +
                              QStringLiteral("[0-9a-f]{32}(\\.lock)?\\z"));
}
} // namespace

PrivateCopy::Outcome PrivateCopy::Make(const QString &source, const QString &name, qint64 mostBytes,
                                       const PrivateFolderFunction &privateFolder)
{
    Outcome outcome;
    const std::shared_ptr<PrivateCopy> copy(new PrivateCopy);
    if (!copy->MakeFolder(privateFolder, &outcome.failure)) {
        return outcome;
    }
    copy->m_path = copy->m_folder + QLatin1Char('/') + name;
    QFile from(source);
    QFile to(copy->m_path);
    // Whatever else has the name, a pipe for instance, might never come to an end.
    if (!gOpenRegularFile(&from)) {
        outcome.failure = QStringLiteral("%1 is no file that can be read").arg(source);
        return outcome;
    }
    if (!to.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered)) {
        outcome.failure = copy->m_path + QStringLiteral(": ") + to.errorString();
        return outcome;
    }
    if (gCopy(source, from, to, std::min(mostBytes, mostBytesOfPackage), &outcome)) {
        outcome.copy = copy;
    }
    // The destructor of a copy that failed removes the file, which Windows does not while it is open.
    to.close();
    return outcome;
}

/// The lock is taken before there is a folder: `RemoveLeft` of another process never sees one without it.
bool PrivateCopy::MakeFolder(const PrivateFolderFunction &privateFolder, QString *failure)
{
    const QString base = privateFolder(failure);
    if (base.isEmpty()) {
        return false;
    }
    const QString folder =
        base + QLatin1Char('/') + prefix + QUuid::createUuid().toString(QUuid::Id128);
    if (m_lock.TryLock(folder + lockSuffix) != ProcessLock::Outcome::Taken) {
        *failure = QStringLiteral("%1 cannot be locked").arg(folder + lockSuffix);
        return false;
    }
    if (!gMakePrivateFolder(folder, failure)) {
        return false;
    }
    m_folder = folder;
    return gIsPrivateFolder(folder, failure);
}

PrivateCopy::~PrivateCopy()
{
    if (!m_isLeft && !m_folder.isEmpty()) {
        QDir(m_folder).removeRecursively();
    }
}

void PrivateCopy::RemoveLeft(const PrivateFolderFunction &privateFolder)
{
    QString failure;
    const QString base = privateFolder(&failure);
    if (base.isEmpty()) {
        return;
    }
    // A process that was ended in between left a lock without a folder.
    const QStringList names = QDir(base).entryList(QDir::Dirs | QDir::Files | QDir::NoDotAndDotDot);
    for (const QString &name : names.filter(gNameOfCopy())) {
        const bool isLock = name.endsWith(lockSuffix);
        const QString folder =
            base + QLatin1Char('/') + (isLock ? name.chopped(lockSuffix.size()) : name);
        ProcessLock lock;
        if (lock.TryLock(folder + lockSuffix) == ProcessLock::Outcome::Taken) {
            QDir(folder).removeRecursively();
        }
    }
}
