// SPDX-License-Identifier: MIT

#pragma once

/// A customisation store that records how it is called and gives odd values for some keys. It is
/// built as three libraries that tests put in the place of the host's "HvUtilities.dll": one with
/// both exports, one without the export that reads, and one without the export that loads.
extern "C" {

/// The last call of `ReadCustomizeInfoW` and of `LoadCustomizeXMLFileW`, as text:
/// "load(<path>);read(<key>,<language>,<buffer before>,<zeros behind>,<units>,<first>,<second>)",
/// where the buffer before is its first unit and the zeros are counted behind it.
__attribute__((visibility("default"))) const char *OddCustomizationCalls();

/// Records the path. @return 0, as if the file could not be loaded.
__attribute__((visibility("default"))) int LoadCustomizeXMLFileW(const char16_t *path);

/// Records its arguments, and then, depending on the key: "silent" succeeds and writes nothing,
/// "refuse" writes and fails, "empty" writes an empty value, "long" writes 255 units and a zero,
/// "endless" writes 256 units without a zero, "halves" writes "front", a zero and "back"; any other
/// writes "value".
__attribute__((visibility("default"))) int ReadCustomizeInfoW(const char16_t *key,
                                                              const char16_t *language,
                                                              char16_t *buffer, int units,
                                                              int first, int second);
}
