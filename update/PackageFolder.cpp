#include "update/PackageFolder.h"

#include "CvPaths.h"
#include "platform/CommonDocuments.h"

#include <QCoreApplication>
#include <QDir>

QString gSharedPackageFolder()
{
    const QString documents = gCommonDocumentsFolder();
    if (documents.isEmpty()) {
        return {};
    }
    const QString folder = documents + QStringLiteral("/Halvard");
    QDir().mkpath(folder);
    return IsPathWriteable(folder) ? folder : QString();
}

QString gPackageFolder()
{
    const QString shared = gSharedPackageFolder();
    return shared.isEmpty() ? QCoreApplication::applicationDirPath() : shared;
}
