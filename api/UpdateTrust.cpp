// SPDX-License-Identifier: MIT

#include "api/UpdateTrust.h"

#include <utility>

namespace
{
QStringList &gPublicKeys()
{
    static QStringList keys;
    return keys;
}
} // namespace

void UpdateTrust::SetPublicKeys(QStringList keys)
{
    gPublicKeys() = std::move(keys);
}

QStringList UpdateTrust::GetPublicKeys()
{
    return gPublicKeys();
}
