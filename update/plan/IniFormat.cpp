// SPDX-License-Identifier: MIT

#include "update/plan/IniFormat.h"

#include <QByteArray>
#include <QFileDevice>
#include <QString>

#include <algorithm>
#include <cstring>

namespace
{
QString gUnquoted(const QByteArray &text)
{
    if (!text.startsWith('"')) {
        return QString::fromUtf8(text);
    }
    QByteArray plain;
    for (int index = 1; index < text.size() && text.at(index) != '"'; ++index) {
        if (text.at(index) == '\\' && index + 1 < text.size()) {
            ++index;
        }
        plain += text.at(index);
    }
    return QString::fromUtf8(plain);
}

QByteArray gQuoted(const QString &value)
{
    QByteArray text = value.toUtf8();
    text.replace('\n', ' ').replace('\r', ' ');
    const bool isPlain =
        text == text.trimmed() && std::none_of(text.begin(), text.end(), [](char character) {
            return std::strchr("\"\\,;=", character) != nullptr;
        });
    if (isPlain) {
        return text;
    }
    text.replace('\\', "\\\\").replace('"', "\\\"");
    return '"' + text + '"';
}

bool gReadIni(QIODevice &device, QSettings::SettingsMap &values)
{
    QString group;
    while (!device.atEnd()) {
        const QByteArray line = device.readLine().trimmed();
        const int equals = line.indexOf('=');
        if (line.startsWith('[') && line.endsWith(']')) {
            group = QString::fromUtf8(line.mid(1).chopped(1)) + QLatin1Char('/');
        } else if (equals > 0 && !line.startsWith(';')) {
            values.insert(group + QString::fromUtf8(line.left(equals).trimmed()),
                          gUnquoted(line.mid(equals + 1).trimmed()));
        }
    }
    return true;
}

bool gWriteIni(QIODevice &device, const QSettings::SettingsMap &values)
{
    QByteArray text;
    QString group;
    for (auto value = values.begin(); value != values.end(); ++value) {
        const QString itsGroup = value.key().section(QLatin1Char('/'), 0, 0);
        if (itsGroup != group) {
            text += (text.isEmpty() ? "[" : "\n[") + itsGroup.toUtf8() + "]\n";
            group = itsGroup;
        }
        text += value.key().section(QLatin1Char('/'), 1).toUtf8() + '=' +
                gQuoted(value.value().toString()) + '\n';
    }
    // QSettings does not check whether its buffer reaches the disk.
    auto *const file = qobject_cast<QFileDevice *>(&device);
    return device.write(text) == text.size() && (file == nullptr || file->flush());
}
} // namespace

QSettings::Format gIniFormat()
{
    static const QSettings::Format format =
        QSettings::registerFormat(QStringLiteral("ini"), gReadIni, gWriteIni, Qt::CaseSensitive);
    return format;
}
