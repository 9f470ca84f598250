// SPDX-License-Identifier: MIT

#include "demo/serve/AccessLog.h"

#include <httplib.h>

#include <algorithm>
#include <iostream>
#include <string>

namespace
{
/// @p text with its control characters replaced: a line break in a request must not begin a line of
/// the log.
std::string gPrintable(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return std::iscntrl(c) != 0; }, '?');
    return text;
}
} // namespace

void gLogAccess(const httplib::Request &request, const httplib::Response &response)
{
    const std::string range = request.has_header("Range") ? request.get_header_value("Range") : "-";
    // One output call for the whole line, so that the lines of several threads do not mix.
    std::cerr << gPrintable(request.method + ' ' + request.path + ' ' + range) + ' ' +
                     std::to_string(response.status) + '\n';
}
