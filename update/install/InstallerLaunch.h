// SPDX-License-Identifier: MIT

#pragma once

#include <QString>

class EventSink;

/// Starts @p installer detached, reports to @p events whether that worked, and blocks until the
/// reports that are on their way have ended: the host is about to terminate itself.
/// @return whether the installer was started.
bool gLaunchInstaller(const QString &installer, EventSink &events);
