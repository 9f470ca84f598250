#include "platform/FileVersion.h"

#include "platform/PeVersionResource.h"

#include <QFile>
#include <QRegularExpression>

namespace
{
/// The value of a "FileVersion=" line near the start of a script or other file that is not PE.
QString gVersionLine(QIODevice &device)
{
    constexpr qint64 searchedBytes = 4096;
    static const QRegularExpression line(
        QStringLiteral("^[ \\t]*(?:#|//)?[ \\t]*FileVersion=([^\\r\\n]*)\\r?$"),
        QRegularExpression::MultilineOption);

    device.seek(0);
    return line.match(QString::fromUtf8(device.read(searchedBytes))).captured(1).trimmed();
}
} // namespace

QString FileVersionString(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return QStringLiteral("");
    }
    return gIsPortableExecutable(file) ? gPeFileVersion(file) : gVersionLine(file);
}
