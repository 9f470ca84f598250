// SPDX-License-Identifier: MIT

#include "tests/host/bspatch/PatchFolder.h"

#include "host/bspatch/BspatchProgram.h"
#include "host/bspatch/PatchError.h"
#include "tests/support/TestFiles.h"

#include <QDir>
#include <QtTest>

QStringList PatchFolder::Names() const
{
    return QDir(m_folder.path())
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
}

void PatchFolder::Write(const QString &path, const QByteArray &content)
{
    QVERIFY2(gWriteFile(path, content), qPrintable(path));
}

QString PatchFolder::Refuses(const QByteArray &patch) const
{
    const QByteArray earlier = "a new file from earlier";
    Write(PatchPath(), patch);
    Write(NewPath(), earlier);
    QString message;
    try {
        BspatchProgram::Apply(OldPath().toStdString(), NewPath().toStdString(),
                              PatchPath().toStdString());
        return QStringLiteral("the patch was applied");
    } catch (const PatchError &error) {
        message = QString::fromUtf8(error.what());
    }
    if (!message.startsWith(PatchPath() + QLatin1String(": is ")) || message.contains('\n')) {
        return QStringLiteral("it says: ") + message;
    }
    if (gReadFile(NewPath()) != earlier) {
        return QStringLiteral("the earlier new file is changed");
    }
    if (Names() !=
        QStringList({QStringLiteral("new"), QStringLiteral("old"), QStringLiteral("patch")})) {
        return QStringLiteral("left behind: ") + Names().join(' ');
    }
    return {};
}
