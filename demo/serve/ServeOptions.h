// SPDX-License-Identifier: MIT

#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// The command line of quillon-serve.
///
/// Errors: `Parse` puts a text for the user into `error`, which is empty when there was no error.
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
