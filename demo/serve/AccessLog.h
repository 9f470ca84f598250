// SPDX-License-Identifier: MIT

#pragma once

namespace httplib
{
struct Request;
struct Response;
} // namespace httplib

/// Writes one line about an answered request to stderr: method, path, range and status. Query
/// strings are not written, because they carry e-mail addresses.
///
/// Thread: any.
void gLogAccess(const httplib::Request &request, const httplib::Response &response);
