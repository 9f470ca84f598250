// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Where the client sign of a machine is kept between runs, shared by the maker's programs.
///
/// Two places, for a company "Halvard": "Halvard\Halvard Tessel Pack" and "Halvard\TPX", each with
/// a value `ClientSign`. On Windows they are registry keys below "Software", of 32-bit programs for
/// a 32-bit process; elsewhere ini files of the same names in the settings folders of the platform,
/// the user's own folder and the first one of the machine.
///
/// Thread: any. Errors: none; what cannot be read is empty, what cannot be written is not kept.

/// The first sign found: the first place of the user, the first place of the machine, the second
/// place of the machine. At most 49 characters: of a longer one an ini file gives the first 49, and
/// the registry's is passed over. Empty when there is none. Reading may leave empty registry keys.
QString gReadStoredSign(const QString &company);

/// Writes @p sign into both places of the machine; never into the user's.
void gStoreSign(const QString &company, const QString &sign);
