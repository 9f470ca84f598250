// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// What quillon-serve was asked to do, read from its command line.
///
/// Errors: `Parse` gives a text for the user in `error`; it is empty when all is well.
struct ServeOptions {
    /// The folder with "manifest.xml", "manifests/" and "packages/".
    std::filesystem::path directory;
    /// TCP port; 0 takes any free one.
    int port = 0;
    /// Bytes per second over all answers together; 0 is unlimited.
    std::uint64_t rate = 0;
    /// TCP port for the same service over TLS; -1 for none, 0 takes any free one.
    int tlsPort = -1;
    /// PEM files of the certificate (with its chain) and of its key.
    std::string certificate;
    std::string key;
    std::string error;

    static ServeOptions Parse(const std::vector<std::string> &arguments);
    static const char *Usage();

private:
    void Set(const std::string &name, const std::string &value);
    bool SetNumber(const std::string &name, const std::string &text);
    void Check();
};
