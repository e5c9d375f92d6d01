// SPDX-License-Identifier: Apache-2.0
#include "play/Launcher.h"

#include <QvnPerfService.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "commands/ExitCodes.h"
#include "script/PropertyFile.h"
#include "script/ShownText.h"

namespace qvnperfctl {
namespace {

namespace fs = std::filesystem;

constexpr const char* kRunDirVar = "QVNPERFCTL_RUN_DIR";
constexpr const char* kCustomName = "libcameracustom.so";

// Ignores one signal for as long as it lives.
class IgnoredSignal {
  public:
    explicit IgnoredSignal(int signal) : mSignal(signal) {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        sigaction(mSignal, &ignore, &mPrevious);
    }
    ~IgnoredSignal() { sigaction(mSignal, &mPrevious, nullptr); }
    IgnoredSignal(const IgnoredSignal&) = delete;
    IgnoredSignal& operator=(const IgnoredSignal&) = delete;

  private:
    int mSignal;
    struct sigaction mPrevious = {};
};

// The directory of the shared object that holds `symbol`.
std::string directoryOf(const void* symbol) {
    Dl_info info{};
    if (!dladdr(symbol, &info) || !info.dli_fname)
        return {};
    std::error_code ec;
    auto path = fs::canonical(info.dli_fname, ec);
    return ec ? std::string() : path.parent_path().string();
}

int fail(const std::string& message) {
    std::fprintf(stderr, "qvnperfctl simulate: %s\n", shownText(message).c_str());
    return kExitUsage;
}

// Runs this program with `args` in a child that `prepare` sets up, and waits for it.
template <typename Prepare>
int spawnSelf(const std::vector<std::string>& args, Prepare prepare) {
    std::vector<char*> argv;
    std::string self = "qvnperfctl";
    argv.push_back(self.data());
    std::vector<std::string> copies(args);
    for (auto& arg : copies)
        argv.push_back(arg.data());
    argv.push_back(nullptr);

    std::fflush(nullptr);
    pid_t child = fork();
    if (child < 0)
        return fail(std::string("cannot start: ") + std::strerror(errno));
    if (child == 0) {
        prepare();
        execv("/proc/self/exe", argv.data());
        std::fprintf(stderr, "qvnperfctl simulate: cannot run /proc/self/exe: %s\n",
                     std::strerror(errno));
        _exit(kExitUsage);
    }
    // Ctrl-C reaches the simulation too, and the reader of its output may go away: this
    // process stays either way, to clean up after it.
    IgnoredSignal interrupt(SIGINT);
    IgnoredSignal brokenPipe(SIGPIPE);
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return fail(std::string("lost the simulation: ") + std::strerror(errno));
        }
    }
    if (WIFEXITED(status)) {
        return WEXITSTATUS(status);
    }
    if (WTERMSIG(status) == SIGINT) {
        return fail("interrupted");
    }
    // A crash inside the controller or the customisation library is a finding.
    std::fprintf(stderr, "qvnperfctl simulate: the simulation died: %s\n",
                 strsignal(WTERMSIG(status)));
    return kExitProblems;
}

}  // namespace

ScratchDir::ScratchDir() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/qvnperfctl.XXXXXX";
    if (mkdtemp(pattern.data()))
        mPath = pattern;
}

ScratchDir::~ScratchDir() {
    std::error_code ignored;
    if (!mPath.empty())
        fs::remove_all(mPath, ignored);
}

bool isRelaunched() {
    return std::getenv(kRunDirVar) != nullptr;
}

int relaunch(const std::vector<std::string>& args, const LaunchPlan& plan) {
    ScratchDir dir;
    if (dir.path().empty())
        return fail(std::string("cannot make a run directory: ") + std::strerror(errno));

    PropertyFile properties(dir.path() + "/properties");
    for (const auto& [name, value] : plan.properties)
        properties.set(name, value);
    if (!properties.write())
        return fail("cannot write " + properties.path());

    // The search path: the customisation library under its bare name, then the power
    // service this program uses, so that the controller opens the very same copies.
    std::string searchPath;
    if (!plan.customLibrary.empty()) {
        std::error_code ec;
        fs::path custom = fs::canonical(plan.customLibrary, ec);
        if (ec)
            return fail("cannot read " + plan.customLibrary);
        if (custom.filename() == kCustomName) {
            searchPath = custom.parent_path().string();
        } else {
            fs::create_symlink(custom, fs::path(dir.path()) / kCustomName, ec);
            if (ec)
                return fail("cannot link " + plan.customLibrary + ": " + ec.message());
            searchPath = dir.path();
        }
    }
    std::string serviceDir = directoryOf(reinterpret_cast<const void*>(&perf_lock_acq));
    const char* inherited = std::getenv("LD_LIBRARY_PATH");
    for (const std::string& part : {serviceDir, std::string(inherited ? inherited : "")}) {
        if (part.empty())
            continue;
        searchPath += (searchPath.empty() ? "" : ":") + part;
    }

    return spawnSelf(args, [&] {
        setenv(kRunDirVar, dir.path().c_str(), 1);
        setenv("QVNCAM_PROPERTIES", properties.path().c_str(), 1);
        setenv("LD_LIBRARY_PATH", searchPath.c_str(), 1);
    });
}

int runSelf(const std::vector<std::string>& args, const std::string& stdoutPath) {
    return spawnSelf(args, [&] {
        int fd = open(stdoutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0 || dup2(fd, STDOUT_FILENO) < 0) {
            std::fprintf(stderr, "qvnperfctl: cannot write %s: %s\n", stdoutPath.c_str(),
                         std::strerror(errno));
            _exit(kExitUsage);
        }
    });
}

}  // namespace qvnperfctl
