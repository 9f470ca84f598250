// SPDX-License-Identifier: MIT

#pragma once

/// What systems do differently and a test has to know. One that needs what a system does not do skips itself.

/// A client learns of a connection that is reset before a single byte has come. Windows tells; Wine, under
/// which its programs are tested, does so only now and then.
bool gTellsOfEarlyResets();

/// A file that somebody has open can be removed.
bool gRemovesOpenFiles();
