// SPDX-License-Identifier: MIT

#include "platform/CommonDocuments.h"

#include <QDir>
#include <QStandardPaths>

QString gCommonDocumentsFolder()
{
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    if (folder.isEmpty() || !QDir().mkpath(folder)) {
        return QStringLiteral("");
    }
    return QDir::cleanPath(folder);
}
