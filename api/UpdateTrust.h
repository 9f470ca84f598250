// SPDX-License-Identifier: MIT

#pragma once

#include "QuillonExport.h"

#include <QStringList>

/// Whose signature an update has to carry. Off unless the host sets keys: without them nothing of what
/// follows happens, and TLS alone stands between the user and a foreign installer.
///
/// With keys every manifest has to be signed by one of them, "no newer version" included, and a package is
/// downloaded, patched and started only when it is the one that the signed manifest names. What is not is
/// a failed check or a failed download; the log says which rule was broken. docs/trust.md tells what that
/// stops, how to make keys, and how to replace one.
///
/// Purpose:   holds the public keys, process-wide.
/// Thread:    the host's GUI thread; nothing locks the value.
/// Ownership: none, all members are static.
/// Errors:    none here. A text that is no key is logged when a dialog is constructed, and trusts
///            nothing: a list that has only such texts refuses every update.
class QUILLON_EXPORT UpdateTrust
{
public:
    /// @param keys public keys of minisign, each the second line of a ".pub" file: 56 characters that
    ///             begin with "RW". Any of them may sign. Empty, as when the module is loaded: off.
    ///
    /// Set them before the first `UpdateMain` is constructed. A dialog copies the list when it is
    /// constructed; a later change does not reach it.
    static void SetPublicKeys(QStringList keys);
    static QStringList GetPublicKeys();
};
