// SPDX-License-Identifier: MIT

#include "tests/support/PatchProgram.h"

#include "tests/support/StandIn.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace
{
void gWrite(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        qFatal("%s cannot be written.", qUtf8Printable(path));
    }
}
} // namespace

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
    gWrite(Path(), StandIn::Bytes(orders));
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
    gWrite(paths.at(0), oldBytes);
    gWrite(paths.at(1), newBytes);
    if (QProcess::execute(QStringLiteral("bsdiff"), paths) != 0) {
        qFatal("The program bsdiff made no patch.");
    }
    QFile patch(paths.at(2));
    return patch.open(QIODevice::ReadOnly) ? patch.readAll() : QByteArray();
}
