// SPDX-License-Identifier: MIT

#pragma once

class EventSink;
struct DownloadState;
struct DownloadSystem;

/// What all parts of an update share. The dialog puts it together once and hands it down; every
/// class that needs one of the three asks for it in its constructor, so none can be forgotten.
///
/// Ownership: none. All three outlive the dialog.
struct UpdateContext {
    const DownloadSystem &system;
    DownloadState &state;
    EventSink &events;
};
