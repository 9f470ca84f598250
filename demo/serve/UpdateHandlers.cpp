// SPDX-License-Identifier: MIT

#include "demo/serve/UpdateHandlers.h"

#include "demo/serve/ByteRange.h"
#include "demo/serve/EventLog.h"
#include "demo/serve/RateLimiter.h"

#include <httplib.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

namespace fs = std::filesystem;

namespace
{
constexpr char packageType[] = "application/octet-stream";
constexpr std::size_t redirectPrefixLength = sizeof("/redirect") - 1;

/// Whether @p version can be a file name: a version is used as one, so ".." and "/" must not pass.
bool gIsPlainVersion(const std::string &version)
{
    const bool plain = std::all_of(version.begin(), version.end(), [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '.' || c == '-' || c == '_';
    });
    return plain && !version.empty() && version.find("..") == std::string::npos;
}

bool gIsFile(const fs::path &path)
{
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

bool gStartsWith(const std::string &text, const std::string &prefix)
{
    return text.compare(0, prefix.size(), prefix) == 0;
}

/// The one range that was asked for; none for several ranges or one that the file does not have.
std::optional<ByteRange> gWantedRange(const httplib::Request &request, std::uint64_t size)
{
    if (request.ranges.size() != 1) {
        return std::nullopt;
    }
    return ByteRange::Resolve(request.ranges.front(), size);
}

/// Removes the ranges from the request after they were applied here. Otherwise the library would
/// apply them to the answer a second time, beyond the end of the file and with a Content-Range that
/// lacks its last byte. The request object is not const; only the reference that handlers get is.
void gDropRanges(const httplib::Request &request)
{
    const_cast<httplib::Request &>(request).ranges.clear();
}
} // namespace

UpdateHandlers::UpdateHandlers(const fs::path &directory, RateLimiter &limiter)
    : m_directory(fs::canonical(directory))
    , m_limiter(limiter)
{
}

void UpdateHandlers::Register(httplib::Server &server)
{
    // A Get handler of this library answers HEAD as well.
    server.Get("/update", [this](const httplib::Request &request, httplib::Response &response) {
        AnswerUpdate(request, response);
    });
    server.Get("/packages/(.+)",
               [this](const httplib::Request &request, httplib::Response &response) {
                   AnswerPackage(request, response);
               });
    server.Get("/redirect/.+", &UpdateHandlers::AnswerRedirect);
    server.Get("/tallow/visit/", &UpdateHandlers::AnswerEvent);
}

void UpdateHandlers::AnswerUpdate(const httplib::Request &request,
                                  httplib::Response &response) const
{
    gDropRanges(request);
    const fs::path path = ManifestFor(request.get_param_value("version"));
    std::ifstream file(path, std::ios::binary);
    if (!gIsFile(path) || !file) {
        response.status = 404;
        return;
    }
    std::ostringstream manifest;
    manifest << file.rdbuf();
    response.set_content(manifest.str(), "application/xml");
}

fs::path UpdateHandlers::ManifestFor(const std::string &version) const
{
    if (gIsPlainVersion(version)) {
        const fs::path own = m_directory / "manifests" / (version + ".xml");
        if (gIsFile(own)) {
            return own;
        }
    }
    return m_directory / "manifest.xml";
}

void UpdateHandlers::AnswerPackage(const httplib::Request &request,
                                   httplib::Response &response) const
{
    std::error_code error;
    const fs::path path = PackagePath(request.matches[1].str());
    const std::uint64_t size = path.empty() ? 0 : fs::file_size(path, error);
    if (path.empty() || error) {
        gDropRanges(request);
        response.status = 404;
        return;
    }

    response.set_header("Accept-Ranges", "bytes");
    ByteRange range{0, size};
    // RFC 7233 defines ranges for GET only; HEAD gives the size of the whole file.
    if (!request.ranges.empty() && request.method == "GET") {
        const std::optional<ByteRange> wanted = gWantedRange(request, size);
        response.status = wanted ? 206 : 416;
        response.set_header("Content-Range", wanted ? wanted->ContentRange(size)
                                                    : "bytes */" + std::to_string(size));
        range = wanted.value_or(ByteRange{0, 0});
    }
    gDropRanges(request);
    if (range.length > 0) {
        Stream(path, range.first, range.length, response);
    } else if (response.status != 416) {
        response.set_header("Content-Type", packageType);
    }
}

/// The file at @p relative below "packages"; empty when there is none, when the path contains "..",
/// or when a link leads out of that folder.
fs::path UpdateHandlers::PackagePath(const std::string &relative) const
{
    const fs::path asked(relative);
    if (relative.find('\0') != std::string::npos || asked.is_absolute() ||
        std::find(asked.begin(), asked.end(), "..") != asked.end()) {
        return {};
    }
    std::error_code error;
    const fs::path root = fs::canonical(m_directory / "packages", error);
    const fs::path path = error ? fs::path() : fs::canonical(root / asked, error);
    if (error || !gIsFile(path) || !gStartsWith(path.string(), root.string() + '/')) {
        return {};
    }
    return path;
}

void UpdateHandlers::Stream(const fs::path &path, std::uint64_t first, std::uint64_t length,
                            httplib::Response &response) const
{
    const auto file = std::make_shared<std::ifstream>(path, std::ios::binary);
    file->seekg(static_cast<std::streamoff>(first));
    response.set_content_provider(
        length, packageType, [this, file](std::size_t, std::size_t left, httplib::DataSink &sink) {
            std::vector<char> chunk(std::min(left, m_limiter.ChunkSize()));
            // The file became shorter after its length was sent, so the connection has to end.
            if (!file->read(chunk.data(), static_cast<std::streamsize>(chunk.size()))) {
                return false;
            }
            m_limiter.Pay(chunk.size());
            return sink.write(chunk.data(), chunk.size());
        });
}

void UpdateHandlers::AnswerRedirect(const httplib::Request &request, httplib::Response &response)
{
    gDropRanges(request);
    // The path as it was sent, still encoded. Only paths of this service are accepted: the rest,
    // for example "//other.example/", could otherwise name another host.
    const std::string rest =
        request.target.substr(std::min(redirectPrefixLength, request.target.size()));
    const bool ours = gStartsWith(request.target, "/redirect/") &&
                      (gStartsWith(rest, "/redirect/") || gStartsWith(rest, "/packages/"));
    if (!ours) {
        response.status = 404;
        return;
    }
    response.set_redirect(rest, 302);
}

void UpdateHandlers::AnswerEvent(const httplib::Request &request, httplib::Response &response)
{
    gDropRanges(request);
    gLogEvent(request);
    response.set_content("ok\n", "text/plain");
}
