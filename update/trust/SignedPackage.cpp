// SPDX-License-Identifier: MIT

#include "update/trust/SignedPackage.h"

std::optional<SignedPackage> gSignedPackage(const std::optional<SignedStatement> &statement,
                                            bool incremental)
{
    if (!statement) {
        return std::nullopt;
    }
    if (incremental) {
        return SignedPackage{statement->patch.value_or(SignedFile()), statement->resultSha256};
    }
    const SignedFile full = statement->full.value_or(SignedFile());
    return SignedPackage{full, full.sha256};
}
