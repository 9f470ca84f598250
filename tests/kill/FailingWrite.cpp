// SPDX-License-Identifier: MIT

// Preloaded into a host: makes its writes to one file fail, without a change to the host. It reads
// these environment variables:
//
//   FAILING_PATH   the file, by its path
//   FAILING_TEXT   or the file, by a text that is in what is written
//   FAILING_CALL   which of its writes fails, counted from 1
//   FAILING_EVER   "1": those that follow fail as well
//   FAILING_HOW    ENOSPC, EIO, EINTR, or SHORT: only half of the bytes are taken
//   FAILING_MARK   a file that is created once a write has failed

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace
{
using WriteFunction = ssize_t (*)(int, const void *, size_t);

std::string gEnvironmentText(const char *name)
{
    const char *value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

struct Order {
    std::string path = gEnvironmentText("FAILING_PATH");
    std::string text = gEnvironmentText("FAILING_TEXT");
    std::string how = gEnvironmentText("FAILING_HOW");
    std::string mark = gEnvironmentText("FAILING_MARK");
    long call = std::strtol(gEnvironmentText("FAILING_CALL").c_str(), nullptr, 10);
    bool ever = gEnvironmentText("FAILING_EVER") == "1";
};

bool gIsToFail(const Order &order, int file, const void *bytes, size_t count)
{
    if (!order.text.empty()) {
        return memmem(bytes, count, order.text.data(), order.text.size()) != nullptr;
    }
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    std::string path(order.path.size() + 1, '\0');
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    return length == static_cast<ssize_t>(order.path.size()) &&
           std::memcmp(path.data(), order.path.data(), order.path.size()) == 0;
}

int gErrorNumber(const std::string &how)
{
    return how == "ENOSPC" ? ENOSPC : how == "EIO" ? EIO : EINTR;
}
} // namespace

/// Takes the place of the system's "write".
extern "C" __attribute__((visibility("default"))) ssize_t gFailingWrite(int file, const void *bytes,
                                                                        size_t count) asm("write");

extern "C" ssize_t gFailingWrite(int file, const void *bytes, size_t count)
{
    static const auto real = reinterpret_cast<WriteFunction>(dlsym(RTLD_NEXT, "write"));
    static const Order order;
    static std::atomic<long> calls{0};
    // The caller repeats an interrupted call. The call after an interrupted one goes through;
    // otherwise the caller would loop for ever.
    static std::atomic<bool> wasInterrupted{false};

    if (order.call == 0 || !gIsToFail(order, file, bytes, count)) {
        return real(file, bytes, count);
    }
    if (wasInterrupted.exchange(false)) {
        return real(file, bytes, count);
    }
    const long number = ++calls;
    if (number < order.call || (number > order.call && !order.ever)) {
        return real(file, bytes, count);
    }
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-vararg,hicpp-vararg)
    close(open(order.mark.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    if (order.how == "SHORT") {
        return real(file, bytes, count > 1 ? count / 2 : count);
    }
    wasInterrupted = order.how == "EINTR";
    errno = gErrorNumber(order.how);
    return -1;
}
