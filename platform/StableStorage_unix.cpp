// SPDX-License-Identifier: MIT

#include "platform/StableStorage.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

namespace
{
int gOpenFile(const QString &path, int flags)
{
    // open() is variadic.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg,hicpp-vararg)
    return open(QFile::encodeName(path).constData(), flags | O_CLOEXEC);
}
} // namespace

FlushResult gFlushToDisk(const QString &path)
{
    const int file = gOpenFile(path, O_RDWR);
    if (file < 0) {
        return FlushResult::Unknown;
    }
    int result = 0;
    do {
        result = fdatasync(file);
    } while (result != 0 && errno == EINTR);
    const int error = result == 0 ? 0 : errno;
    close(file);
    if (error == 0) {
        return FlushResult::Flushed;
    }
    const bool isUnsupported = error == EINVAL || error == ENOSYS || error == ENOTSUP;
    return isUnsupported ? FlushResult::Unknown : FlushResult::Failed;
}

void gFlushFolder(const QString &folder)
{
    const int file = gOpenFile(folder, O_RDONLY | O_DIRECTORY);
    if (file >= 0) {
        fsync(file);
        close(file);
    }
}
