// SPDX-License-Identifier: MIT

#include "update/transfer/PackageFile.h"

void PackageFile::SetPath(const QString &path)
{
    m_file.close();
    m_file.setFileName(path);
}

bool PackageFile::Open(qint64 position, IfMissing ifMissing)
{
    if (m_file.isOpen()) {
        if (m_file.exists()) {
            return true;
        }
        // Some systems would go on to take bytes for a file that has no name any more.
        m_file.close();
    }
    // Unbuffered: the bytes are with the system before the state that claims them is written.
    QIODevice::OpenMode mode = QIODevice::ReadWrite | QIODevice::Unbuffered;
    mode.setFlag(QIODevice::ExistingOnly, ifMissing == IfMissing::Fail);
    if (m_file.open(mode) && m_file.seek(position)) {
        return true;
    }
    m_failure = m_file.errorString();
    m_file.close();
    return false;
}

qint64 PackageFile::Write(std::string_view bytes)
{
    const auto size = static_cast<qint64>(bytes.size());
    qint64 written = 0;
    while (written < size) {
        // A disk that fills up takes a part first; only the next attempt gives the reason.
        const qint64 count = m_file.write(bytes.data() + written, size - written);
        if (count <= 0) {
            m_failure = m_file.errorString();
            break;
        }
        written += count;
    }
    return written;
}
