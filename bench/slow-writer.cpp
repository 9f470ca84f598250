// SPDX-License-Identifier: MIT

// Preloaded into a program: makes its writes to certain files as slow as a slow disk, without a
// change to the program. A call returns when its bytes have had their time. It reads these
// environment variables:
//
//   SLOW_WRITER_PATH              a text in the paths of these files; empty for none
//   SLOW_WRITER_BYTES_PER_SECOND  the speed of all writes together

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>

#include <climits>
#include <dlfcn.h>
#include <sys/uio.h>
#include <unistd.h>

namespace
{
using Clock = std::chrono::steady_clock;

std::string gEnvironmentText(const char *name)
{
    const char *value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

struct Order {
    std::string path = gEnvironmentText("SLOW_WRITER_PATH");
    double bytesPerSecond =
        std::strtod(gEnvironmentText("SLOW_WRITER_BYTES_PER_SECOND").c_str(), nullptr);
};

bool gIsPaced(const Order &order, int file)
{
    if (order.path.empty() || order.bytesPerSecond <= 0) {
        return false;
    }
    const std::string link = "/proc/self/fd/" + std::to_string(file);
    std::string path(PATH_MAX, '\0');
    const ssize_t length = readlink(link.c_str(), path.data(), path.size());
    return length > 0 && memmem(path.data(), static_cast<size_t>(length), order.path.data(),
                                order.path.size()) != nullptr;
}

/// Sleeps until @p count bytes have been written, behind those of all earlier calls.
void gWaitForDisk(double bytesPerSecond, ssize_t count)
{
    static std::mutex mutex;
    static Clock::time_point busyUntil;

    const std::chrono::duration<double> time(static_cast<double>(count) / bytesPerSecond);
    std::unique_lock<std::mutex> lock(mutex);
    busyUntil =
        std::max(busyUntil, Clock::now()) + std::chrono::duration_cast<Clock::duration>(time);
    const Clock::time_point end = busyUntil;
    lock.unlock();
    std::this_thread::sleep_until(end);
}

/// Calls the system's own function @p name, and takes its time.
template<typename... Arguments>
ssize_t gWriteSlowly(const char *name, int file, Arguments... arguments)
{
    static const Order order;
    using Function = ssize_t (*)(int, Arguments...);
    const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
    const ssize_t written = real(file, arguments...);
    if (written > 0 && gIsPaced(order, file)) {
        const int error = errno;
        gWaitForDisk(order.bytesPerSecond, written);
        errno = error;
    }
    return written;
}
} // namespace

// Each takes the place of the system's function whose name stands behind it.
#define SLOW_WRITER_EXPORT extern "C" __attribute__((visibility("default"))) ssize_t

SLOW_WRITER_EXPORT gSlowWrite(int, const void *, size_t) asm("write");
SLOW_WRITER_EXPORT gSlowPwrite(int, const void *, size_t, off_t) asm("pwrite");
SLOW_WRITER_EXPORT gSlowPwrite64(int, const void *, size_t, off64_t) asm("pwrite64");
SLOW_WRITER_EXPORT gSlowWritev(int, const iovec *, int) asm("writev");
SLOW_WRITER_EXPORT gSlowPwritev(int, const iovec *, int, off_t) asm("pwritev");
SLOW_WRITER_EXPORT gSlowPwritev64(int, const iovec *, int, off64_t) asm("pwritev64");

ssize_t gSlowWrite(int file, const void *bytes, size_t count)
{
    return gWriteSlowly("write", file, bytes, count);
}

ssize_t gSlowPwrite(int file, const void *bytes, size_t count, off_t offset)
{
    return gWriteSlowly("pwrite", file, bytes, count, offset);
}

ssize_t gSlowPwrite64(int file, const void *bytes, size_t count, off64_t offset)
{
    return gWriteSlowly("pwrite64", file, bytes, count, offset);
}

ssize_t gSlowWritev(int file, const iovec *parts, int count)
{
    return gWriteSlowly("writev", file, parts, count);
}

ssize_t gSlowPwritev(int file, const iovec *parts, int count, off_t offset)
{
    return gWriteSlowly("pwritev", file, parts, count, offset);
}

ssize_t gSlowPwritev64(int file, const iovec *parts, int count, off64_t offset)
{
    return gWriteSlowly("pwritev64", file, parts, count, offset);
}
