// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

/// Marks the three classes that a host binds to. QUILLON_BUILDING is set while the module itself is
/// compiled; a host that includes the public headers imports.
#if defined(QUILLON_BUILDING)
#define QUILLON_EXPORT Q_DECL_EXPORT
// Hosts bind to every member of the meta-object by its name. Qt hides this one where it can.
#undef Q_DECL_HIDDEN_STATIC_METACALL
#define Q_DECL_HIDDEN_STATIC_METACALL
#else
#define QUILLON_EXPORT Q_DECL_IMPORT
#endif
