// SPDX-License-Identifier: MIT

#include "tests/e2e/LocalServer.h"

QString LocalServer::CheckTemplate() const
{
    return m_baseUrl + QStringLiteral("/update?pid=&version=&email=");
}
