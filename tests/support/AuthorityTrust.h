// SPDX-License-Identifier: MIT

#pragma once

#include <QSslCertificate>

/// From now on every encrypted connection of this process trusts @p authority. Once for a process,
/// before its first connection and while there is no `SystemPlaces`.
void gTrustAuthority(const QSslCertificate &authority);
