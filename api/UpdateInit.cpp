// SPDX-License-Identifier: MIT

#include "api/UpdateInit.h"

#include <utility>

namespace
{
struct Values {
    QString updateUrl;
    QString updateVersion;
};

Values &gValues()
{
    static Values values;
    return values;
}
} // namespace

void UpdateInit::SetUpdateUrl(QString url)
{
    gValues().updateUrl = std::move(url);
}

QString UpdateInit::GetUpdateUrl()
{
    return gValues().updateUrl;
}

void UpdateInit::SetUpdateVersion(QString version)
{
    gValues().updateVersion = std::move(version);
}

QString UpdateInit::GetUpdateVersion()
{
    return gValues().updateVersion;
}
