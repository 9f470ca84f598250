// SPDX-License-Identifier: MIT

#include "tests/support/PatchProgram.h"

#include "tests/support/StandIn.h"
#include "tests/support/TestFiles.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

PatchProgram::PatchProgram()
{
    QFile::remove(Path());
    const QString program = QStandardPaths::findExecutable(QStringLiteral("bspatch"));
    if (!QFile::copy(program, Path())) {
        qFatal("The program bspatch is needed beside the test.");
    }
}

PatchProgram::PatchProgram(const QByteArray &orders)
{
    gPutFile(Path(), StandIn::Bytes(orders));
    QFile::setPermissions(Path(),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
}

PatchProgram::~PatchProgram()
{
    QFile::remove(Path());
}

QString PatchProgram::Path()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/bspatch.exe");
}

QByteArray PatchProgram::MakePatch(const QByteArray &oldBytes, const QByteArray &newBytes)
{
    const QTemporaryDir folder;
    const QStringList paths{folder.filePath(QStringLiteral("old")),
                            folder.filePath(QStringLiteral("new")),
                            folder.filePath(QStringLiteral("patch"))};
    gPutFile(paths.at(0), oldBytes);
    gPutFile(paths.at(1), newBytes);
    if (QProcess::execute(QStringLiteral("bsdiff"), paths) != 0) {
        qFatal("The program bsdiff made no patch.");
    }
    return gReadFile(paths.at(2));
}
