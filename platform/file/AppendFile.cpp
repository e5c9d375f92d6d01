// SPDX-License-Identifier: Apache-2.0
#include "qvncam/platform/AppendFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "qvncam/platform/AndroidLog.h"

namespace qvncam {
namespace platform {

int openRegularForAppend(const char* path, const char* tag, const char* variable,
                         std::atomic<bool>& warned) {
    // Non-blocking so that a FIFO without a reader fails at once instead of hanging.
    int fd = ::open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0644);
    const char* why = nullptr;
    struct stat st {};
    if (fd < 0 || ::fstat(fd, &st) != 0) {
        why = std::strerror(errno);
    } else if (!S_ISREG(st.st_mode)) {
        why = "not a regular file";
    }
    if (why == nullptr)
        return fd;
    if (fd >= 0)
        ::close(fd);
    if (!warned.exchange(true, std::memory_order_relaxed))
        android_log_print(LOG_PRIO_WARN, tag, "%s=%s: %s; its lines are dropped", variable, path,
                          why);
    return -1;
}

}  // namespace platform
}  // namespace qvncam
