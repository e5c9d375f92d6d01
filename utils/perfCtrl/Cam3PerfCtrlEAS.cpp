// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Cam3PerfCtrl"

#include <string>

#include "Cam3PerfCtrlInternal.h"
#include "CamLog.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

// Per-task scheduler resources; fixed by the power service, not part of the vocabulary.
struct EasFlag {
    unsigned short mask;
    int resource;
    bool valueIsTid;
};
constexpr EasFlag kEasFlags[] = {
    {0x0001, 0x01448300, true},
    {0x0002, 0x01450000, true},
    {0x8000, 0x03400000, false},
};

}  // namespace

std::unique_ptr<PerfOperator> Cam3PerfCtrlImp::enablePerTaskEASControl(int tid,
                                                                       unsigned short flags) {
    const std::string userStr = "enablePerTaskEASControl-tid:" + std::to_string(tid);
    if (miLogLevel.load(std::memory_order_relaxed) != 0) {
        CAM_LOGD("%s", userStr.c_str());
    }
    if (tid < 1 || flags == 0) {
        return nullptr;
    }
    std::vector<int> cmds;
    for (const EasFlag& flag : kEasFlags) {
        if (flags & flag.mask) {
            cmds.push_back(flag.resource);
            cmds.push_back(flag.valueIsTid ? tid : 1);
        }
    }
    return std::make_unique<PerfOperatorImp>(std::move(cmds), 0, userStr.c_str());
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
