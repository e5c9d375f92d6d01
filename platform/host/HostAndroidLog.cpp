// SPDX-License-Identifier: Apache-2.0
// The Android log on a Linux host: standard error in logcat's brief format, and the
// test hook's sink when one is installed.

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "qvncam/platform/AndroidLog.h"
#include "qvncam/platform/TestHook.h"

namespace qvncam {
namespace platform {
namespace {

// liblog's own limit on one message.
constexpr size_t kMaxMessage = 4068;

char priorityLetter(int prio) {
    static const char kLetters[] = "??VDIWEFS";
    return prio >= 0 && prio < static_cast<int>(sizeof(kLetters) - 1) ? kLetters[prio] : '?';
}

void writeAll(int fd, const char* data, size_t size) {
    while (size > 0) {
        ssize_t n = ::write(fd, data, size);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return;
        data += n;
        size -= static_cast<size_t>(n);
    }
}

}  // namespace

void android_log_print(int prio, const char* tag, const char* fmt, ...) {
    const int savedErrno = errno;
    char message[kMaxMessage];
    message[0] = '\0';
    int len = 0;
    if (fmt != nullptr) {
        va_list args;
        va_start(args, fmt);
        len = ::vsnprintf(message, sizeof(message), fmt, args);
        va_end(args);
    }
    if (len < 0) {
        errno = savedErrno;
        return;
    }
    if (logSinkInstalled())
        sendToLogSink(prio, tag, message);
    size_t remaining =
        static_cast<size_t>(len) < sizeof(message) ? static_cast<size_t>(len) : sizeof(message) - 1;
    char prefix[128];
    int prefixLen = ::snprintf(prefix, sizeof(prefix), "%c/%s(%d): ", priorityLetter(prio),
                               tag != nullptr ? tag : "", static_cast<int>(::getpid()));
    if (prefixLen < 0)
        prefixLen = 0;
    size_t prefixSize = static_cast<size_t>(prefixLen) < sizeof(prefix)
                            ? static_cast<size_t>(prefixLen)
                            : sizeof(prefix) - 1;

    // Like logcat, each line of a multi-line message gets its own prefix; a trailing
    // newline ends the last line rather than starting an empty one.
    const char* p = message;
    char line[sizeof(prefix) + kMaxMessage + 1];
    std::memcpy(line, prefix, prefixSize);
    do {
        const char* nl = static_cast<const char*>(std::memchr(p, '\n', remaining));
        size_t lineLen = nl != nullptr ? static_cast<size_t>(nl - p) : remaining;
        std::memcpy(line + prefixSize, p, lineLen);
        line[prefixSize + lineLen] = '\n';
        writeAll(STDERR_FILENO, line, prefixSize + lineLen + 1);
        size_t consumed = nl != nullptr ? lineLen + 1 : lineLen;
        p += consumed;
        remaining -= consumed;
    } while (remaining > 0);
    errno = savedErrno;
}

}  // namespace platform
}  // namespace qvncam
