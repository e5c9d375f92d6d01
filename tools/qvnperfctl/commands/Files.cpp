// SPDX-License-Identifier: Apache-2.0
#include "commands/Files.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "commands/ExitCodes.h"
#include "script/ShownText.h"

namespace qvnperfctl {

std::optional<std::string> inputFileProblem(const std::string& path) {
    const std::string cannot = "cannot read " + shownText(path) + ": ";
    struct stat st {};
    if (::stat(path.c_str(), &st) != 0)
        return cannot + std::strerror(errno);
    // Opening a FIFO for reading waits for a writer; a device may never end.
    if (!S_ISREG(st.st_mode))
        return cannot + "not a regular file";
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        return cannot + std::strerror(errno);
    ::close(fd);
    return std::nullopt;
}

OutputFile::~OutputFile() {
    if (mFd >= 0)
        ::close(mFd);
}

OutputFile::OutputFile(OutputFile&& other) noexcept
    : mFd(other.mFd),
      mRegular(other.mRegular),
      mPath(std::move(other.mPath)),
      mError(std::move(other.mError)) {
    other.mFd = -1;
}

bool OutputFile::fail(int error) {
    mError = "cannot write " + shownText(mPath) + ": " +
             (error == ENXIO ? "no process reads this FIFO" : std::strerror(error));
    return false;
}

bool OutputFile::open(const std::string& path) {
    mPath = path;
    // Without O_NONBLOCK, opening a FIFO waits for a reader; with it, ENXIO says none.
    mFd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_NONBLOCK | O_CLOEXEC, 0644);
    if (mFd < 0)
        return fail(errno);
    struct stat st {};
    const int flags = ::fcntl(mFd, F_GETFL);
    if (::fstat(mFd, &st) != 0 || flags < 0 || ::fcntl(mFd, F_SETFL, flags & ~O_NONBLOCK) != 0)
        return fail(errno);
    mRegular = S_ISREG(st.st_mode);
    return true;
}

bool OutputFile::write(const std::string& text) {
    if (mFd < 0)
        return false;
    if (mRegular && (::ftruncate(mFd, 0) != 0 || ::lseek(mFd, 0, SEEK_SET) != 0))
        return fail(errno);
    // A reader that goes away is a write error here, not the end of the program.
    struct sigaction ignore = {}, previous = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &previous);
    size_t done = 0;
    int error = 0;
    while (done < text.size() && error == 0) {
        const ssize_t n = ::write(mFd, text.data() + done, text.size() - done);
        if (n >= 0) {
            done += static_cast<size_t>(n);
        } else if (errno != EINTR) {
            error = errno;
        }
    }
    ::sigaction(SIGPIPE, &previous, nullptr);
    return error == 0 || fail(error);
}

void holdStandardDescriptors() {
    // stdin gets a write-only descriptor, stdout and stderr read-only ones.
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (::fcntl(fd, F_GETFD) >= 0 || errno != EBADF)
            continue;
        const int held = ::open("/dev/null", fd == STDIN_FILENO ? O_WRONLY : O_RDONLY);
        if (held >= 0 && held != fd) {
            ::dup2(held, fd);
            ::close(held);
        }
    }
}

namespace {

// A pipe whose reader has gone reports an error to poll().
bool readerGone() {
    pollfd out{STDOUT_FILENO, POLLOUT, 0};
    return ::poll(&out, 1, 0) == 1 && (out.revents & POLLERR) != 0;
}

}  // namespace

int finishStandardOutput(const std::string& command) {
    errno = 0;
    const bool flushed = std::fflush(stdout) == 0;
    // An earlier flush may have failed and dropped its buffer: its reason is gone.
    const int error = flushed ? 0 : errno;
    if (flushed && !std::ferror(stdout))
        return kExitOk;
    std::clearerr(stdout);
    if (error == EPIPE || (error == 0 && readerGone()))
        return kExitOk;
    const std::string who = command.empty() ? "qvnperfctl" : "qvnperfctl " + command;
    std::fprintf(stderr, "%s: cannot write standard output%s%s\n", who.c_str(),
                 error != 0 ? ": " : "", error != 0 ? std::strerror(error) : "");
    return kExitUsage;
}

}  // namespace qvnperfctl
