// SPDX-License-Identifier: MIT

#pragma once

#include "BaseLog.h"

/// Writes one line to the host's log.
/// @param file     the source name that operators filter by: "LiveUpdateMgr" or "UpdateCommon"
/// @param function the qualified function name, for example "LiveUpdateMgr::UpdateNow"
/// The remaining arguments are a printf-style format and its values; texts are narrow strings.
#define QUILLON_LOG(file, function, ...)                                                           \
    GetGlobalLogInstance()->Log(file, function, __LINE__, __VA_ARGS__)
