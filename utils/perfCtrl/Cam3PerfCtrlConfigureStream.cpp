// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Cam3PerfCtrl"

#include "Cam3PerfCtrlInternal.h"
#include "CamLog.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

std::shared_ptr<PerfOperatorHolder> Cam3PerfCtrlImp::enterPerfCtrl_ConfigureStream(
    const qcam::StreamConfiguration& config) {
    CAM_LOGD("enterPerfCtrl_ConfigureStream");
    // Without the customisation entry nothing happens, not even the JSON list.
    if (mfnConfigTimeCPUCtrl == nullptr) {
        CAM_LOGW("No custom PerfCtrl function(config time).");
        return nullptr;
    }
    auto holder = std::make_shared<PerfOperatorHolderImp>();
    const CustomParams params{{"IS_CONFIG_TIME_KEY", "1"}};
    CustomOutCmds outCmds;
    unsigned int timeoutMs = 0;
    std::vector<int> cmds;
    const char* user = "";

    bool fromJson = false;
    {
        qvncam::MutexLock lock(mJsonLock);
        fromJson = mJsonCmdSet.configCamExist;
        if (fromJson) {
            cmds = mJsonCmdSet.configCamCmds;
        }
    }
    if (!fromJson) {
        if (mfnConfigTimeCPUCtrl(config, params, outCmds, timeoutMs)) {
            cmds.reserve(countOutCmdInts(outCmds));
            if (miLogLevel.load(std::memory_order_relaxed) != 0) {
                CAM_LOGD("customizeCPUCtrl(configureStream) params:");
            }
            __processOutCmds(outCmds, cmds);
            user = "configureStream";
        }
    } else {
        CAM_LOGD("ConfigCam config from json");
        user = "configureStream-from-json";
    }

    std::shared_ptr<PerfOperator> op =
        std::make_shared<PerfOperatorImp>(cmds, static_cast<int>(timeoutMs), user);
    if (!op->isAlive()) {
        CAM_LOGE("Failed to create PerfOperator during %s, size=%lu", user,
                 static_cast<unsigned long>(cmds.size()));
    }
    holder->push_back(op);
    holder->setCustomHolder(op);

    __initC2PSPerfCtrl(config, outCmds);
    __initCPUAffy(config, outCmds);
    return holder;
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
