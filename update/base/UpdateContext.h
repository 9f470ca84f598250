// SPDX-License-Identifier: MIT

#pragma once

#include <QString>
#include <QStringList>

class EventSink;
struct DownloadState;
struct DownloadSystem;

/// What all parts of an update share. The dialog puts it together once and hands it down; every
/// class that needs one of them asks for it in its constructor, so none can be forgotten.
///
/// Ownership: none of the three references. What they name outlives the dialog.
struct UpdateContext {
    const DownloadSystem &system;
    DownloadState &state;
    EventSink &events;
    /// `QuillonInit::GetConfigFileDir` at the time when the dialog was constructed. A host that sets
    /// another one later must not spread a download over two state files.
    QString configDirectory;
    /// `UpdateTrust::GetPublicKeys` at that time; empty for a host that trusts TLS alone.
    QStringList publicKeys{};
};
