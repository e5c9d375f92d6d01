// Exits with locks in the state named by argv[1], so the test can read the
// report the service writes at process exit.
#include <cstring>

#include "QvnPerfService.h"

int main(int argc, char** argv) {
    const char* mode = argc > 1 ? argv[1] : "";
    int cmds[] = {0x00400000, 1800000, 0x01448300, 7};
    int held = perf_lock_acq(0, 0, cmds, 4);
    perf_lock_acq(0, 60000, cmds, 2);  // still running at exit, but not a leak
    if (std::strcmp(mode, "clean") == 0) {
        perf_lock_rel(held);
    } else if (std::strcmp(mode, "quiet") == 0) {
        qvnperf_set_exit_report(0);
    }
    return 0;
}
