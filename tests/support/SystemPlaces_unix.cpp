// SPDX-License-Identifier: MIT

#include "tests/support/SystemPlaces.h"

#include "tests/support/IniText.h"

#include <QDir>
#include <QFile>
#include <QSettings>

namespace
{
constexpr char documents[] = "XDG_DATA_HOME";
constexpr char userSettings[] = "XDG_CONFIG_HOME";
constexpr char machineSettings[] = "XDG_CONFIG_DIRS";

QString gSettings(SystemPlaces::Owner owner, const QString &place)
{
    const bool isUser = owner == SystemPlaces::Owner::User;
    return QStringLiteral("%1/%2.ini")
        .arg(qEnvironmentVariable(isUser ? userSettings : machineSettings), place);
}
} // namespace

SystemPlaces::SystemPlaces(const QString &folder)
{
    for (const char *variable : {documents, userSettings, machineSettings}) {
        m_former.insert(variable, qgetenv(variable));
    }
    PutDocuments(folder + QStringLiteral("/data"));
    qputenv(userSettings, QFile::encodeName(folder + QStringLiteral("/settings/user")));
    qputenv(machineSettings, QFile::encodeName(folder + QStringLiteral("/settings/machine")));
}

SystemPlaces::~SystemPlaces()
{
    for (auto former = m_former.cbegin(); former != m_former.cend(); ++former) {
        if (former.value().isNull()) {
            qunsetenv(former.key().constData());
        } else {
            qputenv(former.key().constData(), former.value());
        }
    }
}

void SystemPlaces::PutDocuments(const QString &folder)
{
    qputenv(documents, QFile::encodeName(folder));
}

QString SystemPlaces::Sign(Owner owner, const QString &place)
{
    return gReadIniText(gSettings(owner, place)).value(QStringLiteral("General/ClientSign"));
}

void SystemPlaces::PutSign(Owner owner, const QString &place, const QString &sign)
{
    QSettings settings(gSettings(owner, place), QSettings::IniFormat);
    settings.setValue(QStringLiteral("ClientSign"), sign);
    settings.sync();
    if (settings.status() != QSettings::NoError) {
        qFatal("The test cannot write its settings.");
    }
}

void SystemPlaces::BlockSignsOf(const QString &company)
{
    // A file where a folder is needed.
    const QString folder = qEnvironmentVariable(machineSettings);
    QFile file(folder + QLatin1Char('/') + company);
    if (!QDir().mkpath(folder) || !file.open(QIODevice::WriteOnly)) {
        qFatal("The test cannot write its settings.");
    }
}
