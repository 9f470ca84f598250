// SPDX-License-Identifier: MIT

#pragma once

#include "update/trust/SignedStatement.h"

#include <QString>

#include <optional>

/// What a verified manifest says of the package that is fetched, and of the installer behind it.
struct SignedPackage {
    /// The package itself.
    SignedFile file;
    /// Of the installer: the full package, or what the incremental one makes.
    QString installerSha256;
};

/// The one of the two packages that @p statement names. A statement that names none gives a package that no
/// file can be; no statement gives nothing.
std::optional<SignedPackage> gSignedPackage(const std::optional<SignedStatement> &statement,
                                            bool incremental);
