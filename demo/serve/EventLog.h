// SPDX-License-Identifier: MIT

#pragma once

namespace httplib
{
struct Request;
} // namespace httplib

/// Writes a statistics record as one JSON object on a line of stdout: "data" (the record itself; as
/// text when it is not a JSON object), "time" (UTC) and "userAgent".
///
/// Thread: any.
void gLogEvent(const httplib::Request &request);
