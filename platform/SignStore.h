// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Where the client sign of a machine is kept between runs, shared by the maker's programs.
///
/// There are two places; for a company "Halvard" they are "Halvard\Halvard Tessel Pack" and
/// "Halvard\TPX", each with a value `ClientSign`. On Windows a place is a registry key below
/// "Software", for a 32-bit process in the registry view of 32-bit programs. Elsewhere it is an ini
/// file of that name in the platform's settings folders: the user's folder and the first one of the
/// machine.
///
/// Thread: any. Errors: none; what cannot be read is empty, what cannot be written is not kept.

/// The first sign found: the first place of the user, the first place of the machine, the second
/// place of the machine. At most 49 characters: of a longer sign an ini file gives the first 49,
/// and one in the registry is skipped. Empty when there is none. Reading may create empty registry
/// keys.
QString gReadStoredSign(const QString &company);

/// Writes @p sign into both places of the machine; never into the user's.
void gStoreSign(const QString &company, const QString &sign);
