// SPDX-License-Identifier: MIT

#include "platform/RegularFile.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

bool gOpenRegularFile(QFile *file)
{
    // Without waiting, so that what has the name can be looked at once it is open. open() is variadic.
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg,hicpp-vararg)
    const int opened = open(QFile::encodeName(file->fileName()).constData(),
                            O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (opened < 0) {
        return false;
    }
    struct stat found {
    };
    if (fstat(opened, &found) == 0 && S_ISREG(found.st_mode) &&
        file->open(opened, QIODevice::ReadOnly | QIODevice::Unbuffered,
                   QFileDevice::AutoCloseHandle)) {
        return true;
    }
    close(opened);
    return false;
}
