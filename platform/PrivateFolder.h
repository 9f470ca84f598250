// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

/// Folders in which no other account of this machine can change anything. The administrators of the machine
/// and the system itself are no such account: they can change everything.

/// This user's folder for them, by its full path; it is made when it is missing. On Windows it lies in the
/// local application data, elsewhere in the cache.
/// @param failure receives why there is none
/// @return an empty path when it cannot be had, and when another account could change it, a folder above
///         it, or their names
QString gPrivateFolder(QString *failure);

/// Makes the folder at @p path for this user alone. @return false when it is there already or cannot be made
bool gMakePrivateFolder(const QString &path, QString *failure);

/// Whether no other account can change the folder at @p path, or what lies in it.
/// @param failure receives who can, or why that is unknown
bool gIsPrivateFolder(const QString &path, QString *failure);

/// Whether no other account can rename or replace the folder at @p path, or a folder above it, from
/// the folders above.
/// @param path absolute, and without links
/// @param failure receives who can, or why that is unknown
bool gIsKeptAbove(const QString &path, QString *failure);
