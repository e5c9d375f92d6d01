// SPDX-License-Identifier: Apache-2.0
// Dumps from several threads while main returns and the process's statics are destroyed.
// The parent (LiveOperatorsTest) runs it and expects a clean exit.

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include "Cam3PerfCtrl.h"
#include "PerfOperatorImp.h"
#include "qvncam_perfctrl.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

namespace {

// Known resource names, so that each dump looks them up.
const std::vector<int> kCmds = {0x414000, 7, 0x400200, 3, 0x7fffff00, 9};

// Destroyed at exit while the dumps go on: it leaves the list under their feet.
PerfOperatorImp gStaticOp(kCmds, 0, "static");

}  // namespace

int main(int argc, char** argv) {
    Cam3PerfCtrl::getInstance();  // destroyed at exit too
    // Still listed when the process ends; never destroyed, so that LeakSanitizer sees them
    // held rather than leaked.
    static auto* const kept = new std::vector<PerfOperatorImp*>();
    for (int i = 0; i < 20; ++i) {
        kept->push_back(new PerfOperatorImp(kCmds, i % 2 == 0 ? 0 : 60000, "kept"));
    }
    const int fd = open("/dev/null", O_WRONLY | O_CLOEXEC);
    for (int t = 0; t < 4; ++t) {
        std::thread([fd] {
            for (;;) {
                qvncam_perfctrl_dump(fd);
            }
        }).detach();
    }
    // A different moment each run, given as microseconds.
    std::this_thread::sleep_for(std::chrono::microseconds(argc > 1 ? std::atoi(argv[1]) : 0));
    return 0;
}
