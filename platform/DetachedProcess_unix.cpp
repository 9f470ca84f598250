// SPDX-License-Identifier: MIT

#include "platform/DetachedProcess.h"

#include <QFile>
#include <QProcess>

bool gStartDetached(const QString &path, QString *failure)
{
    // A downloaded file is not executable. When the bit cannot be set, the start below fails.
    QFile::setPermissions(path, QFile::permissions(path) | QFileDevice::ExeOwner |
                                    QFileDevice::ExeUser | QFileDevice::ExeGroup);
    QProcess process;
    process.setProgram(path);
    // The installer outlives the host: it must not keep the host's output open or write into it.
    process.setStandardInputFile(QProcess::nullDevice());
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    if (process.startDetached()) {
        return true;
    }
    if (failure != nullptr) {
        *failure = QStringLiteral("launch failure, ") + process.errorString();
    }
    return false;
}
