// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>

/// What every fuzz target defines: it may do anything with the bytes but crash, hang or grow without
/// bound. It returns 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
