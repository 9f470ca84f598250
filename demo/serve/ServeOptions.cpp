// SPDX-License-Identifier: MIT

#include "demo/serve/ServeOptions.h"

#include <charconv>

namespace
{
constexpr std::uint64_t maxPort = 65535;

bool gReadNumber(const std::string &text, std::uint64_t &number)
{
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}
} // namespace

const char *ServeOptions::Usage()
{
    return "usage: quillon-serve DIR [--port P] [--rate BYTES_PER_S]\n"
           "                     [--tls-port P --cert FILE --key FILE]\n";
}

ServeOptions ServeOptions::Parse(const std::vector<std::string> &arguments)
{
    ServeOptions options;
    for (std::size_t i = 0; i < arguments.size() && options.error.empty(); ++i) {
        const std::string &argument = arguments[i];
        if (argument.rfind("--", 0) == 0) {
            const std::string value = i + 1 < arguments.size() ? arguments[++i] : std::string();
            options.Set(argument, value);
        } else if (argument.empty() || argument.front() == '-') {
            options.error = "unknown option '" + argument + "'";
        } else if (!options.directory.empty()) {
            options.error = "more than one folder given";
        } else {
            options.directory = argument;
        }
    }
    if (options.error.empty()) {
        options.Check();
    }
    return options;
}

void ServeOptions::Set(const std::string &name, const std::string &value)
{
    if (name == "--port" || name == "--rate" || name == "--tls-port") {
        if (!SetNumber(name, value)) {
            error = name + " needs a number in its range";
        }
    } else if (name == "--cert" || name == "--key") {
        (name == "--cert" ? certificate : key) = value;
        if (value.empty()) {
            error = name + " needs a file";
        }
    } else {
        error = "unknown option '" + name + "'";
    }
}

bool ServeOptions::SetNumber(const std::string &name, const std::string &text)
{
    std::uint64_t number = 0;
    if (!gReadNumber(text, number)) {
        return false;
    }
    if (name == "--rate") {
        rate = number;
        return number > 0;
    }
    if (number > maxPort) {
        return false;
    }
    (name == "--port" ? port : tlsPort) = static_cast<int>(number);
    return true;
}

/// Checks the options against each other; sets `error` when they do not fit.
void ServeOptions::Check()
{
    std::error_code ignored;
    const bool wantsTls = tlsPort >= 0;
    if (directory.empty()) {
        error = "no folder given";
    } else if (!std::filesystem::is_directory(directory, ignored)) {
        error = "no such folder: " + directory.string();
    } else if (wantsTls != !certificate.empty() || wantsTls != !key.empty()) {
        error = "--tls-port, --cert and --key go together";
    }
}
