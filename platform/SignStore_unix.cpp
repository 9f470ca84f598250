// SPDX-License-Identifier: MIT

#include "platform/SignStore.h"

#include "platform/SettingsLock.h"

#include <QFile>
#include <QSettings>
#include <QStandardPaths>

#include <optional>

namespace
{
const QString &gKey()
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

/// Nothing when the place holds no sign; a sign that is there ends the search even when it is
/// empty.
std::optional<QString> gRead(const QString &path)
{
    constexpr int mostCharacters = 49;

    if (!QFile::exists(path)) {
        return std::nullopt;
    }
    const QSettings settings(path, QSettings::IniFormat);
    if (!settings.contains(gKey())) {
        return std::nullopt;
    }
    return settings.value(gKey()).toString().left(mostCharacters);
}

void gWrite(const QString &path, const QString &sign)
{
    QSettings settings(gWithoutStaleLock(path), QSettings::IniFormat);
    settings.setValue(gKey(), sign);
}
} // namespace

QString gReadStoredSign(const QString &company)
{
    for (const QString &path :
         {gFirstPlace(gUserFolder(), company), gFirstPlace(gMachineFolder(), company),
          gSecondPlace(gMachineFolder(), company)}) {
        if (const auto sign = gRead(path); sign.has_value()) {
            return *sign;
        }
    }
    return {};
}

void gStoreSign(const QString &company, const QString &sign)
{
    gWrite(gFirstPlace(gMachineFolder(), company), sign);
    gWrite(gSecondPlace(gMachineFolder(), company), sign);
}
