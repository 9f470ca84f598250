// SPDX-License-Identifier: MIT

#pragma once

#include "QuillonExport.h"

#include <QString>

/// The settings of the update service, which a host makes before it constructs an `UpdateMain`.
///
/// Purpose:   holds the service's address template and the host's own version, process-wide.
/// Thread:    the host's GUI thread; nothing locks the values.
/// Ownership: none, all members are static. Both values are empty when the module is loaded.
/// Errors:    none.
class QUILLON_EXPORT UpdateInit
{
public:
    /// The address template of the update check, for example
    /// "https://updates.example/check?pid=&version=&email=". The values of a check are inserted
    /// right behind "pid=", "version=" and "email=", so the template carries these three keys with
    /// empty values. A dialog copies the template when it is constructed; a later change does not
    /// reach it.
    static void SetUpdateUrl(QString url);
    static QString GetUpdateUrl();

    /// The version of the running host, for example "9.1.0.0". Read whenever it is needed: by a
    /// check without the caller's own values, and when a download starts.
    static void SetUpdateVersion(QString version);
    static QString GetUpdateVersion();
};
