// SPDX-License-Identifier: MIT

#pragma once

#include <cstddef>
#include <cstdint>

/// The function of every fuzz target. It processes @p data and returns 0; a crash, a hang and
/// memory without bound are failures.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);
