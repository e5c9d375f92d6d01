// SPDX-License-Identifier: Apache-2.0
// Opens the controller, asks for a capture boost and places the calling thread,
// printing what it got. Without a power service on LD_LIBRARY_PATH the boost holds
// no lock; that is reported, not an error.

#include <Cam3PerfCtrl.h>
#include <qvncam_perfctrl.h>

#include <cstdio>

using NSCam::NSCamFeature::NSCamPerfCtrl::Cam3PerfCtrl;
using NSCam::NSCamFeature::NSCamPerfCtrl::EPERF_BOOST_CAPTURE_PIPELINE;

int main() {
    Cam3PerfCtrl* ctrl = Cam3PerfCtrl::getInstance();
    if (ctrl == nullptr) {
        std::fprintf(stderr, "no controller\n");
        return 1;
    }
    std::printf("controller ready\n");

    auto boost = ctrl->runPerfBoost(EPERF_BOOST_CAPTURE_PIPELINE, 500);
    if (boost) {
        std::printf("capture boost for %d ms: %s\n", boost->getTimeoutInMilli(),
                    boost->isAlive() ? "lock held" : "no lock granted");
        boost->exit();
    } else {
        std::printf("capture boost: no operator\n");
    }

    std::printf("thread placement: %s\n",
                qvncam_perfctrl_set_affinity() ? "affinity changed" : "unchanged");
    return 0;
}
