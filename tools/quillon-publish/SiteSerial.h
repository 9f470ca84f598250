// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <optional>

class Site;

/// Whether @p site was signed once: it has the file of the serial, or a manifest with a signature.
/// @throws PublishError when a manifest cannot be read
bool gWasSigned(const Site &site);

/// Whether the manifest.xml of @p site is signed and expires. It is not verified for it.
/// @throws PublishError when it cannot be read
bool gHasExpiry(const Site &site);

/// The number in the site's file of the serial; nothing without that file.
/// @throws PublishError when it is damaged or impossibly high
std::optional<quint64> gLastSerial(const Site &site);

/// The serial of the next publication of @p site: above the one in its file, and above those in its
/// manifests, which are not verified for it.
/// @throws PublishError when one of them is damaged or impossibly high
quint64 gNextSerial(const Site &site);
