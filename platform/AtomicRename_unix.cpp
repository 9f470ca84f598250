// SPDX-License-Identifier: MIT

#include "platform/AtomicRename.h"

#include <QFile>

#include <cerrno>
#include <cstdio>
#include <system_error>

RenameResult gRenameOver(const QString &from, const QString &to, QString *failure)
{
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0) {
        return RenameResult::Renamed;
    }
    const int error = errno;
    *failure = QString::fromStdString(std::system_category().message(error));
    return error == EBUSY || error == ETXTBSY ? RenameResult::Busy : RenameResult::Failed;
}
