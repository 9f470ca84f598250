// SPDX-License-Identifier: MIT

#pragma once

#include <QtGlobal>

#if defined(HVUTILITIES_BUILDING)
#define HVUTILITIES_EXPORT Q_DECL_EXPORT
#else
#define HVUTILITIES_EXPORT Q_DECL_IMPORT
#endif

// The host's customisation store: the values in which customised builds of the product differ.
//
// The store is filled from an XML file, usually "Customization.xml" beside the application:
//
//     <?xml version="1.0" encoding="UTF-8"?>
//     <Customization>
//         <Entry key="PID">10001</Entry>
//         <Entry key="PID" language="DEU">10002</Entry>
//     </Customization>
//
// An entry with a language applies to that language only, one without applies to every language
// that has no entry of its own. Keys and languages are compared exactly. Of two entries with the
// same key and language the last one counts. Blanks around a value are removed. Elements of other
// names are ignored.
//
// The functions are found by name at run time. One store per process, for use from one thread.
extern "C" {

/// Replaces the store by the content of the file at @p path (null-terminated UTF-16).
/// @return non-zero when it was loaded; 0, with an empty store, when the file cannot be read, is
///         not well-formed or has another root element.
HVUTILITIES_EXPORT int LoadCustomizeXMLFileW(const char16_t *path);

/// Looks up @p key for @p language (both null-terminated UTF-16) and copies the value to @p buffer.
/// @param bufferUnits size of the buffer in UTF-16 units, the terminating zero included. A longer
///                    value is cut; the copy is always terminated.
/// @param reserved1, reserved2 0
/// @return non-zero when the value was found; 0, with the buffer as it was, when it was not or when
///         the buffer has no room.
HVUTILITIES_EXPORT int ReadCustomizeInfoW(const char16_t *key, const char16_t *language,
                                          char16_t *buffer, int bufferUnits, int reserved1,
                                          int reserved2);
}
