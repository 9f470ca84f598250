// SPDX-License-Identifier: MIT

#include "update/plan/StateFile.h"

#include "platform/AtomicRename.h"
#include "platform/StableStorage.h"

#include <QThread>

namespace
{
/// @return how many bytes of @p text were written
int gWriteAll(QFile *file, const QByteArray &text)
{
    int written = 0;
    while (written < text.size()) {
        const qint64 count = file->write(text.constData() + written, text.size() - written);
        if (count <= 0) {
            break;
        }
        written += static_cast<int>(count);
    }
    return written;
}

bool gMakeFile(const QString &path, const QByteArray &text)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered) &&
           gWriteAll(&file, text) == text.size();
}

bool gRenamePatiently(const QString &from, const QString &to, std::chrono::milliseconds patience,
                      const std::atomic<bool> *isGivenUp)
{
    constexpr std::chrono::milliseconds pause{100};

    QString failure;
    RenameResult result = gRenameOver(from, to, &failure);
    const auto goesOn = [&] { return isGivenUp == nullptr || !*isGivenUp; };
    for (; result == RenameResult::Busy && patience > pause && goesOn(); patience -= pause) {
        QThread::msleep(static_cast<unsigned long>(pause.count()));
        result = gRenameOver(from, to, &failure);
    }
    return result == RenameResult::Renamed;
}
} // namespace

StateFile::StateFile(const QString &path)
    : m_path(path)
    , m_file(path)
{
}

QByteArray StateFile::Read() const
{
    QFile file(m_path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void StateFile::Open(const QByteArray &text)
{
    Close();
    // Not made anew: a file that has vanished is replaced, which says when it cannot be.
    const QIODevice::OpenMode mode =
        QIODevice::ReadWrite | QIODevice::ExistingOnly | QIODevice::Unbuffered;
    if (m_file.open(mode)) {
        m_text = text;
    }
}

void StateFile::Close()
{
    m_file.close();
    m_text.clear();
}

bool StateFile::HasName() const
{
    return m_file.isOpen() && m_file.exists();
}

bool StateFile::Overwrite(const QByteArray &text)
{
    if (!m_file.isOpen() || text.size() > Size() || !m_file.seek(0)) {
        Close();
        return false;
    }
    const int written = gWriteAll(&m_file, text);
    if (written < text.size()) {
        // A text that begins as the new one and ends as the old one could claim any number of bytes.
        if (m_file.seek(0)) {
            gWriteAll(&m_file, m_text.left(written));
        }
        Close();
        return false;
    }
    m_text.replace(0, text.size(), text);
    return true;
}

bool gReplaceStateFile(const QString &path, const QByteArray &text,
                       std::chrono::milliseconds patience, const std::atomic<bool> *isGivenUp)
{
    const QString newFile = path + QStringLiteral(".new");
    // Without the flush, a loss of power could leave an empty file under the name.
    const bool isReplaced = gMakeFile(newFile, text) &&
                            gFlushToDisk(newFile) != FlushResult::Failed &&
                            gRenamePatiently(newFile, path, patience, isGivenUp);
    if (!isReplaced) {
        QFile::remove(newFile);
    }
    return isReplaced;
}
