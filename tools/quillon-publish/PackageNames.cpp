// SPDX-License-Identifier: MIT

#include "tools/quillon-publish/PackageNames.h"

#include <QRegularExpression>

namespace
{
bool gMatchesWhole(const char *pattern, const QString &text)
{
    return QRegularExpression(QRegularExpression::anchoredPattern(QLatin1String(pattern)))
        .match(text)
        .hasMatch();
}

QString gWithoutSuffix(const QString &name)
{
    return name.left(name.lastIndexOf(QLatin1Char('.')));
}
} // namespace

bool gIsPlainVersion(const QString &version)
{
    return gMatchesWhole("[0-9A-Za-z_-]+(\\.[0-9A-Za-z_-]+)*", version);
}

bool gIsSafePackageName(const QString &name)
{
    return gMatchesWhole("[0-9A-Za-z][0-9A-Za-z._-]*", name);
}

QString gPatchName(const QString &installerName, const QString &oldVersion,
                   const QString &newVersion)
{
    const QString versions = oldVersion + QLatin1String("-to-") + newVersion;
    const int at = installerName.indexOf(newVersion);
    if (at < 0) {
        return gWithoutSuffix(installerName) + QLatin1Char('-') + versions +
               QLatin1String(".patch");
    }
    // The text after the version stays, so that the patches of two architectures have two names.
    const QString behind = gWithoutSuffix(installerName.mid(at + newVersion.size()));
    return installerName.left(at) + versions + behind + QLatin1String(".patch");
}
