// SPDX-License-Identifier: Apache-2.0
// Loads the service the way the controller does, takes a lock without expiry and a
// timed one, and exits; with argv[1] "released-at-exit" a static destructor releases
// the first. The test reads the report the service writes at exit.
#include <dlfcn.h>

#include <cstring>

namespace {

int (*lockRel)(int);

// Constructed before the service is loaded, so its destructor runs after any exit
// handler the service could have registered at load time.
struct Holder {
    int handle = 0;
    ~Holder() {
        if (handle > 0)
            lockRel(handle);
    }
} gHolder;

}  // namespace

int main(int argc, char** argv) {
    void* lib = dlopen(QVNPERF_SERVICE_PATH, RTLD_NOW);
    if (lib == nullptr)
        return 2;
    auto lockAcq = reinterpret_cast<int (*)(int, int, int*, int)>(dlsym(lib, "perf_lock_acq"));
    lockRel = reinterpret_cast<int (*)(int)>(dlsym(lib, "perf_lock_rel"));
    int cmds[] = {0x00400000, 1800000, 0x01448300, 7};
    const int held = lockAcq(0, 0, cmds, 4);
    lockAcq(0, 60000, cmds, 2);  // still running at exit, but not a leak
    if (argc > 1 && std::strcmp(argv[1], "released-at-exit") == 0)
        gHolder.handle = held;
    return 0;
}
