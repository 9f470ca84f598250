// SPDX-License-Identifier: MIT

#pragma once

class QNetworkAccessManager;

/// Takes @p manager from its parent and deletes it from the event loop. A host may delete the dialog
/// in a slot that a reply's signal has led to, and Qt goes on with that reply once the slot returns.
/// Where no event loop runs any more the manager ends with the application object, which its thread
/// must not outlive.
void gDeleteLater(QNetworkAccessManager *manager);
