// SPDX-License-Identifier: Apache-2.0
#include "ServiceLog.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <vector>

namespace qvnperf {
namespace {

std::atomic<bool> gWarnings{true};

constexpr const char* kTag = "QvnPerfService";

}  // namespace

void setWarningsEnabled(bool on) {
    gWarnings.store(on, std::memory_order_relaxed);
}

void warn(const char* fmt, ...) {
    if (!gWarnings.load(std::memory_order_relaxed)) {
        return;
    }
    va_list ap;
    va_start(ap, fmt);
    va_list copy;
    va_copy(copy, ap);
    int len = std::vsnprintf(nullptr, 0, fmt, copy);
    va_end(copy);
    if (len >= 0) {
        std::vector<char> buf(static_cast<size_t>(len) + 1);
        std::vsnprintf(buf.data(), buf.size(), fmt, ap);
        writeLogLine(STDERR_FILENO, 'W', std::string(buf.data(), static_cast<size_t>(len)));
    }
    va_end(ap);
}

void writeLogLine(int fd, char priority, const std::string& message) {
    char prefix[64];
    int n = std::snprintf(prefix, sizeof prefix, "%c/%-8s(%5d): ", priority, kTag,
                          static_cast<int>(getpid()));
    std::string line(prefix, n > 0 ? static_cast<size_t>(n) : 0);
    line += message;
    line += '\n';
    const char* p = line.data();
    size_t left = line.size();
    while (left > 0) {
        ssize_t w = ::write(fd, p, left);
        if (w < 0 && errno == EINTR) {
            continue;
        }
        if (w <= 0) {
            return;
        }
        p += w;
        left -= static_cast<size_t>(w);
    }
}

}  // namespace qvnperf
