// SPDX-License-Identifier: MIT

#include "platform/SignStore.h"

#include "platform/SettingsLock.h"

#include <QFile>
#include <QSettings>
#include <QStandardPaths>

#include <optional>

namespace
{
const QString &gSignKey()
{
    static const QString key = QStringLiteral("ClientSign");
    return key;
}

QString gFirstPlace(const QString &folder, const QString &company)
{
    return QStringLiteral("%1/%2/%2 Tessel Pack.ini").arg(folder, company);
}

QString gSecondPlace(const QString &folder, const QString &company)
{
    return QStringLiteral("%1/%2/TPX.ini").arg(folder, company);
}

QString gUserFolder()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
}

QString gMachineFolder()
{
    QStringList folders = QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation);
    folders.removeAll(gUserFolder());
    return folders.value(0);
}

/// The sign in the file at @p path; none when the file has no such value. An empty value is a sign:
/// it ends the search.
std::optional<QString> gReadSign(const QString &path)
{
    constexpr int mostCharacters = 49;

    if (!QFile::exists(path)) {
        return std::nullopt;
    }
    const QSettings settings(path, QSettings::IniFormat);
    if (!settings.contains(gSignKey())) {
        return std::nullopt;
    }
    return settings.value(gSignKey()).toString().left(mostCharacters);
}

void gWriteSign(const QString &path, const QString &sign)
{
    QSettings settings(gWithoutStaleLock(path), QSettings::IniFormat);
    settings.setValue(gSignKey(), sign);
}
} // namespace

QString gReadStoredSign(const QString &company)
{
    for (const QString &path :
         {gFirstPlace(gUserFolder(), company), gFirstPlace(gMachineFolder(), company),
          gSecondPlace(gMachineFolder(), company)}) {
        if (const auto sign = gReadSign(path); sign.has_value()) {
            return *sign;
        }
    }
    return {};
}

void gStoreSign(const QString &company, const QString &sign)
{
    gWriteSign(gFirstPlace(gMachineFolder(), company), sign);
    gWriteSign(gSecondPlace(gMachineFolder(), company), sign);
}
