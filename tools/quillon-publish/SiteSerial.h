// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#include <optional>

class Signer;
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

/// The serial of the next publication of @p site: above the one in its file. Without the file it is
/// above those in the manifests, which @p signer then has to verify.
///
/// Who can write into the site could otherwise use up all serials: clients never go back.
/// @throws PublishError when a number is damaged or impossibly high, when a manifest is above the
/// file, or without the file is not verified
quint64 gNextSerial(const Site &site, const Signer &signer);
