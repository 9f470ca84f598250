// SPDX-License-Identifier: MIT

#pragma once

#include <QObject>

/// Marks the four classes that a host binds to. QUILLON_BUILDING is defined while the module
/// itself is compiled; without it, as in a host, the classes are imported.
#if defined(QUILLON_BUILDING)
#define QUILLON_EXPORT Q_DECL_EXPORT
// Hosts import every member of the meta-object by name, `qt_static_metacall` included, which Qt
// hides where the compiler can. tests/api/CompareExports.cmake compares the exports with a list.
#undef Q_DECL_HIDDEN_STATIC_METACALL
#define Q_DECL_HIDDEN_STATIC_METACALL
#else
#define QUILLON_EXPORT Q_DECL_IMPORT
#endif
