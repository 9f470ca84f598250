// SPDX-License-Identifier: MIT

#include "platform/ProcessLock.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
/// Whether the open @p file is still the one at @p path: its last holder may have removed it after
/// it was opened here and before it was locked.
bool gIsStillAt(int file, const QByteArray &path)
{
    struct stat opened {
    };
    struct stat named {
    };
    return fstat(file, &opened) == 0 && stat(path.constData(), &named) == 0 &&
           opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}

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
        if (gIsStillAt(file, name)) {
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
