// SPDX-License-Identifier: MIT

#include "platform/ProcessLock.h"

#include "platform/StillAtPath_unix.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace
{
int gTryLockFile(int file)
{
    int result = 0;
    do {
        result = flock(file, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    return result;
}
} // namespace

ProcessLock::~ProcessLock()
{
    Unlock();
}

ProcessLock::Outcome ProcessLock::TryLock(const QString &path)
{
    constexpr int attempts = 16;

    Unlock();
    const QByteArray name = QFile::encodeName(path);
    for (int attempt = 0; attempt < attempts; ++attempt) {
        // Read-only, so that a file that another user has created can be locked as well.
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg,hicpp-vararg)
        const int file = open(name.constData(), O_RDONLY | O_CREAT | O_CLOEXEC, 0666);
        if (file < 0) {
            return Outcome::Unavailable;
        }
        if (gTryLockFile(file) != 0) {
            const bool isHeld = errno == EWOULDBLOCK;
            close(file);
            return isHeld ? Outcome::HeldByAnother : Outcome::Unavailable;
        }
        if (gIsStillAtPath(file, name)) {
            m_path = path;
            m_file = file;
            return Outcome::Taken;
        }
        close(file);
    }
    return Outcome::HeldByAnother;
}

void ProcessLock::Unlock()
{
    if (m_file != closed) {
        // Removed while the lock is held: a file that another process has locked in the meantime
        // cannot be removed.
        unlink(QFile::encodeName(m_path).constData());
        close(static_cast<int>(m_file));
        m_file = closed;
    }
}
