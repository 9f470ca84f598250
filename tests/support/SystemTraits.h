// SPDX-License-Identifier: MIT

#pragma once

/// What systems do differently. A test that needs what a system does not do is skipped there.

/// A client is told of a connection that is reset before the first byte. Windows does that; Wine, under
/// which the Windows programs are tested, does it only sometimes.
bool gTellsOfEarlyResets();

/// A file that is open can be removed.
bool gRemovesOpenFiles();

/// A file that is no executable may carry its version as a line of text.
bool gHasVersionLines();

/// A sparse file takes less room than its size, and the system says so. Windows does; Wine accepts
/// the call and makes none.
bool gMakesSparseFiles();
