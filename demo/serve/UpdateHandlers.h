// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

class RateLimiter;

namespace httplib
{
class Server;
struct Request;
struct Response;
} // namespace httplib

/// The answers of the update service: manifests, packages, redirects and statistics records.
///
///     GET /update?pid=&version=&email=  DIR/manifests/<version>.xml, else DIR/manifest.xml
///     HEAD, GET /packages/...           a file below DIR/packages, whole or one range of it
///     HEAD, GET /redirect/...           302 to the same path without its first "/redirect"
///     GET /tallow/visit/?data=          200; the record goes to stdout
///
/// Thread:    the server's worker threads, several at once; nothing in it changes after
/// construction. Ownership: the creator. It has to outlive the server that it is registered with,
///            and the rate limiter has to outlive it.
class UpdateHandlers
{
public:
    UpdateHandlers(const std::filesystem::path &directory, RateLimiter &limiter);

    void Register(httplib::Server &server);

private:
    void AnswerUpdate(const httplib::Request &request, httplib::Response &response) const;
    void AnswerPackage(const httplib::Request &request, httplib::Response &response) const;
    static void AnswerRedirect(const httplib::Request &request, httplib::Response &response);
    static void AnswerEvent(const httplib::Request &request, httplib::Response &response);

    std::filesystem::path ManifestFor(const std::string &version) const;
    std::filesystem::path PackagePath(const std::string &relative) const;
    void Stream(const std::filesystem::path &path, std::uint64_t first, std::uint64_t length,
                httplib::Response &response) const;

    const std::filesystem::path m_directory;
    RateLimiter &m_limiter;
};
