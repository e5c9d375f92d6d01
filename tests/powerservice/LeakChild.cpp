// Loads the service the way the controller does and exits with locks in the
// state named by argv[1], so the test can read the report written at exit.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

int (*lockAcq)(int, int, int*, int);
int (*lockRel)(int);

// Built before the service is loaded, so its destructor runs after any exit
// handler the service could have registered at load time.
struct Holder {
    int handle = 0;
    ~Holder() {
        if (handle > 0) {
            lockRel(handle);
        }
    }
};
std::unique_ptr<Holder> gHolder = std::make_unique<Holder>();

}  // namespace

int main(int argc, char** argv) {
    const char* mode = argc > 1 ? argv[1] : "";
    void* lib = dlopen(QVNPERF_SERVICE_PATH, RTLD_NOW);
    if (lib == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 2;
    }
    lockAcq = reinterpret_cast<int (*)(int, int, int*, int)>(dlsym(lib, "perf_lock_acq"));
    lockRel = reinterpret_cast<int (*)(int)>(dlsym(lib, "perf_lock_rel"));
    auto setExitReport = reinterpret_cast<void (*)(int)>(dlsym(lib, "qvnperf_set_exit_report"));

    int cmds[] = {0x00400000, 1800000, 0x01448300, 7};
    const int held = lockAcq(0, 0, cmds, 4);
    lockAcq(0, 60000, cmds, 2);  // still running at exit, but not a leak
    if (std::strcmp(mode, "released") == 0) {
        lockRel(held);
    } else if (std::strcmp(mode, "released-at-exit") == 0) {
        gHolder->handle = held;
    } else if (std::strcmp(mode, "quiet") == 0) {
        setExitReport(0);
    }
    return 0;
}
