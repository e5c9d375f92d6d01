// SPDX-License-Identifier: Apache-2.0
// System trace on a Linux host: atrace's text form, to QVNCAM_TRACE_FILE or else to
// the kernel's trace marker.

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "qvncam/platform/AppendFile.h"
#include "qvncam/platform/ParseInt.h"
#include "qvncam/platform/Properties.h"
#include "qvncam/platform/Trace.h"

namespace qvncam {
namespace platform {
namespace {

// Opened once and kept for the life of the process, as atrace does.
int traceMarker() {
    static const int fd = [] {
        for (const char* path :
             {"/sys/kernel/tracing/trace_marker", "/sys/kernel/debug/tracing/trace_marker"}) {
            int f = ::open(path, O_WRONLY | O_CLOEXEC);
            if (f >= 0)
                return f;
        }
        return -1;
    }();
    return fd;
}

void writeEvent(char kind, const char* name, int32_t cookie) {
    const int savedErrno = errno;
    char line[512];
    int n =
        std::snprintf(line, sizeof(line), "%c|%d|%.400s|%d\n", kind, static_cast<int>(::getpid()),
                      name != nullptr ? name : "", static_cast<int>(cookie));
    if (n > 0) {  // long names are cut to fit, never dropped
        const char* path = std::getenv("QVNCAM_TRACE_FILE");
        if (path != nullptr && path[0] != '\0') {
            static std::atomic<bool> warned{false};
            int fd = openRegularForAppend(path, "HostTrace", "QVNCAM_TRACE_FILE", warned);
            if (fd >= 0) {
                (void)!::write(fd, line, static_cast<size_t>(n));
                ::close(fd);
            }
        } else if (int fd = traceMarker(); fd >= 0) {
            (void)!::write(fd, line, static_cast<size_t>(n));
        }
    }
    errno = savedErrno;
}

}  // namespace

uint64_t atrace_enabled_tags() {
    char value[kPropertyValueMax];
    if (property_get("debug.atrace.tags.enableflags", value, "") == 0)
        return 0;
    uint64_t tags = 0;
    const bool ok = parseInt(value, &tags);
    return ok ? tags : 0;
}

void atrace_async_begin(const char* name, int32_t cookie) {
    writeEvent('S', name, cookie);
}

void atrace_async_end(const char* name, int32_t cookie) {
    writeEvent('F', name, cookie);
}

}  // namespace platform
}  // namespace qvncam
