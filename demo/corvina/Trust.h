// SPDX-License-Identifier: MIT

#pragma once

class QString;

/// Makes this process trust the certificate authorities in the PEM file @p path, besides those of
/// the system. Call it before the first connection.
/// @return false when the file holds no certificate.
bool gTrustAuthorities(const QString &path);
