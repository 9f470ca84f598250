// SPDX-License-Identifier: MIT

#include "demo/corvina/LogFile.h"

#include <QDateTime>
#include <QFile>
#include <QMutex>
#include <QMutexLocker>

#include <memory>

namespace
{
// Never destroyed, because threads may still log while the process ends.
QFile *g_file = nullptr;
QMutex *g_mutex = nullptr;

QString gTypeName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return QStringLiteral("debug");
    case QtInfoMsg:
        return QStringLiteral("info");
    case QtWarningMsg:
        return QStringLiteral("warning");
    case QtCriticalMsg:
        return QStringLiteral("critical");
    case QtFatalMsg:
        return QStringLiteral("fatal");
    }
    Q_UNREACHABLE();
}

void gWriteLine(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    const QStringList parts{
        QDateTime::currentDateTime().toString(Qt::ISODateWithMs),
        gTypeName(type),
        QString::fromUtf8(context.category),
        QString::fromUtf8(context.function != nullptr ? context.function : "-"),
        message,
    };
    const QMutexLocker lock(g_mutex);
    g_file->write(parts.join(QLatin1Char(' ')).toUtf8() + '\n');
    g_file->flush();
}
} // namespace

bool gLogToFile(const QString &path)
{
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Append)) {
        return false;
    }
    g_file = file.release();
    g_mutex = new QMutex;
    qInstallMessageHandler(gWriteLine);
    return true;
}
