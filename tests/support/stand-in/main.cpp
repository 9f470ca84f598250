// SPDX-License-Identifier: MIT

// A program that executes the orders at the end of its own file: an installer or a patch program for
// tests, on every system. See tests/support/StandIn.h.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{
using Words = std::vector<std::string>;

std::string gReadFile(const std::string &path)
{
    std::string bytes;
    if (std::FILE *file = std::fopen(path.c_str(), "rb")) {
        char buffer[65536];
        std::size_t got = sizeof buffer;
        while (got == sizeof buffer) {
            got = std::fread(buffer, 1, sizeof buffer, file);
            bytes.append(buffer, got);
        }
        static_cast<void>(std::fclose(file));
    }
    return bytes;
}

/// Renames the file when it is complete, so that a test never reads a part of it.
void gWriteFile(const std::string &path, const std::string &bytes)
{
    const std::string part = path + ".part";
    std::FILE *file = std::fopen(part.c_str(), "wb");
    if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
        std::fclose(file) != 0) {
        std::exit(100);
    }
    static_cast<void>(std::remove(path.c_str()));
    if (std::rename(part.c_str(), path.c_str()) != 0) {
        std::exit(101);
    }
}

Words gSplit(const std::string &text, char separator)
{
    Words words;
    std::size_t start = 0;
    for (std::size_t end = 0; end != std::string::npos; start = end + 1) {
        end = text.find(separator, start);
        words.push_back(text.substr(start, end - start));
    }
    return words;
}

/// "$1" to "$9" stand for the program's arguments.
void gPutArgumentsIn(Words &words, const Words &arguments)
{
    for (std::string &word : words) {
        if (word.size() == 2 && word[0] == '$') {
            word = arguments.at(static_cast<std::size_t>(word[1] - '1'));
        }
    }
}

void gFollow(const Words &words, const Words &arguments)
{
    const std::string &order = words.at(0);
    if (order == "write") {
        gWriteFile(words.at(1), words.at(2));
    } else if (order == "copy") {
        gWriteFile(words.at(2), gReadFile(words.at(1)));
    } else if (order == "arguments") {
        std::string lines = std::to_string(arguments.size()) + '\n';
        for (const std::string &argument : arguments) {
            lines += argument + '\n';
        }
        gWriteFile(words.at(1), lines);
    } else if (order == "pid") {
        gWriteFile(words.at(1), std::to_string(getpid()));
    } else if (order == "sleep") {
        std::this_thread::sleep_for(std::chrono::seconds(std::stoi(words.at(1))));
    } else if (order == "exit") {
        std::exit(std::stoi(words.at(1)));
    } else if (order == "crash") {
        volatile int *nowhere = nullptr;
        *nowhere = 1; // NOLINT(clang-analyzer-core.NullDereference): that is the order
    } else {
        std::exit(102);
    }
}
} // namespace

int main(int argc, char *argv[])
{
    const std::string self = gReadFile(argv[0]);
    // In two pieces, so that the mark does not occur in the program's own code.
    const std::string mark = std::string("\n--stand-in") + "--\n";
    const std::size_t start = self.rfind(mark);
    if (start == std::string::npos) {
        return 103;
    }
    const Words arguments(argv + 1, argv + argc);
    for (const std::string &line : gSplit(self.substr(start + mark.size()), '\n')) {
        if (!line.empty()) {
            Words words = gSplit(line, '\t');
            gPutArgumentsIn(words, arguments);
            gFollow(words, arguments);
        }
    }
    return 0;
}
