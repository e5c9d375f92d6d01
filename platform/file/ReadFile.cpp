// SPDX-License-Identifier: Apache-2.0
#include "qvncam/platform/ReadFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace qvncam {
namespace platform {

int readRegularFile(const char* path, off_t maxSize, struct stat& st, std::string& out,
                    std::string& why) {
    // Non-blocking so that a FIFO in the file's place cannot hang the open.
    int fd = ::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) {
        why = std::strerror(errno);
        return -1;
    }
    bool ok = false;
    if (::fstat(fd, &st) != 0) {
        why = std::strerror(errno);
    } else if (!S_ISREG(st.st_mode)) {
        why = "not a regular file";
    } else if (st.st_size > maxSize) {
        why = "larger than " + std::to_string(maxSize) + " bytes";
    } else {
        out.resize(static_cast<size_t>(st.st_size));
        size_t got = 0;
        ok = true;
        while (got < out.size()) {
            ssize_t n = ::read(fd, &out[got], out.size() - got);
            if (n < 0 && errno == EINTR)
                continue;
            if (n < 0) {
                why = std::strerror(errno);
                ok = false;
            }
            if (n <= 0)
                break;
            got += static_cast<size_t>(n);
        }
        out.resize(got);
    }
    if (!ok) {
        ::close(fd);
        return -1;
    }
    return fd;
}

}  // namespace platform
}  // namespace qvncam
