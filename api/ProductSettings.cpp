// SPDX-License-Identifier: MIT

#include "api/ProductSettings.h"

#include "api/CustomizeInfoReader.h"
#include "CvPaths.h"

#include <QSettings>

QString InstallLanguage()
{
    using namespace ProductSettings;
    QSettings settings(gProductSettingsFile(CvGetCorvinaDirectory()), QSettings::IniFormat);
    settings.beginGroup(QLatin1String(systemGroup));
    return settings.value(QLatin1String(installLanguageKey), QLatin1String(defaultInstallLanguage))
        .toString();
}

QString gProductSettingsFile(const QString &directory)
{
    return directory + QLatin1String(ProductSettings::fileName);
}

QString gStatisticsHost(const QString &configDirectory)
{
    using namespace ProductSettings;
    QSettings settings(gProductSettingsFile(configDirectory), QSettings::IniFormat);
    settings.beginGroup(QLatin1String(quillonGroup));
    const QString host = settings.value(QLatin1String(statisticsHostKey)).toString();
    return host.isEmpty() ? QStringLiteral(QUILLON_STATISTICS_HOST) : host;
}

QString ProductId(QString language)
{
    return CustomizeValue(language, QStringLiteral("PID"));
}

QString CustomizeValue(QString language, QString key)
{
    return CustomizeInfoReader(nullptr).ReadCustomizeInfo(language, key);
}
