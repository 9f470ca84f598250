// SPDX-License-Identifier: MIT

#pragma once

#include "update/trust/MinisignKey.h"

#include <QList>

struct SigningOptions;

/// The public keys of the command line; without any, the one in the file beside the secret key,
/// which has its name with the suffix ".pub".
///
/// @throws PublishError when there is none, or one of them is no key
QList<MinisignKey> gReadPublicKeys(const SigningOptions &options);
