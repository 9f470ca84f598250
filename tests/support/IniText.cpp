// SPDX-License-Identifier: MIT

#include "tests/support/IniText.h"

#include <QFile>

QMap<QString, QString> gReadIniText(const QString &path)
{
    QMap<QString, QString> values;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return values;
    }
    QString group;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const int equals = line.indexOf(QLatin1Char('='));
        if (line.startsWith(QLatin1Char('['))) {
            group = line.trimmed().mid(1).chopped(1);
        } else if (equals > 0) {
            values.insert(group + QLatin1Char('/') + line.left(equals),
                          line.mid(equals + 1).trimmed());
        }
    }
    return values;
}
