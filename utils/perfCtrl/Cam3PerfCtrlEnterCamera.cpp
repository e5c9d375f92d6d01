// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Cam3PerfCtrl"

#include "Cam3PerfCtrlInternal.h"
#include "CamLog.h"
#include "PerfCtrlHelper.h"
#include "PerfCtrlProperties.h"
#include "PowerResourceIds.h"
#include "qvncam/platform/Properties.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

using qvncam::platform::property_get_bool;
using qvncam::platform::property_get_int32;

namespace {

// GPU firmware idle mode while the camera is open.
constexpr int kGpuFwIdleCamera = 2;

}  // namespace

std::shared_ptr<PerfOperatorHolder> Cam3PerfCtrlImp::enterPerfCtrl_EnterCamera(int timeoutMs) {
    CAM_LOGD("enterPerfCtrl_EnterCamera");
    miLogLevel.store(property_get_int32(PerfCtrlProperties::kLogLevel.name,
                                        PerfCtrlProperties::kLogLevel.defaultValue),
                     std::memory_order_relaxed);
    {
        qvncam::MutexLock lock(mJsonLock);
        mbEnableJson = property_get_int32(PerfCtrlProperties::kEnableJson.name,
                                          PerfCtrlProperties::kEnableJson.defaultValue) != 0;
        if (mbEnableJson) {
            QvncamJSONData document;
            const int r =
                mpJsonConvertor->getJsonData(QvncamJSONConvertor::TYPE_CAMERA_PERF, document);
            mbEnableJson = r != 0;
            if (miLogLevel.load(std::memory_order_relaxed) != 0) {
                CAM_LOGD("Enable Json, start to parse Json, result=%d", r != 0 ? 1 : 0);
            }
            if (mbEnableJson && !__prepareJsonCmds(document, mJsonCmdSet)) {
                mbEnableJson = false;
            }
        }
    }

    std::vector<int> cmds;
    if (property_get_bool(PerfCtrlProperties::kDramCmdEnable.name,
                          PerfCtrlProperties::kDramCmdEnable.defaultValue)) {
        cmds.insert(cmds.end(), {PERF_RES_DRAM_CM_MGR_CAM_ENABLE, 1});
    }
    if (property_get_bool(PerfCtrlProperties::kNotifyZeltro.name,
                          PerfCtrlProperties::kNotifyZeltro.defaultValue)) {
        cmds.insert(cmds.end(), {PERF_RES_FPS_ZELTRO_CAM, 1});
    }
    cmds.insert(cmds.end(), {PERF_RES_FPS_ZELTRO_ENABLE, 1});
    cmds.insert(cmds.end(), {PERF_RES_GPU_FW_IDLE, kGpuFwIdleCamera});
    PerfCtrlHelper::prepareEnterCameraPlatSettings(cmds);

    auto holder = std::make_shared<PerfOperatorHolderImp>();

    std::shared_ptr<PerfOperator> platformOp =
        std::make_shared<PerfOperatorImp>(cmds, 0, "enterCamera");
    if (!platformOp->isAlive()) {
        CAM_LOGW("Failed to create PerfOperato during camera entering");
    }
    holder->push_back(platformOp);

    std::unique_ptr<PerfOperator> boostOp =
        runPerfBoost(EPERF_BOOST_DEFAULT, static_cast<unsigned int>(timeoutMs));
    if (boostOp) {
        if (!boostOp->isAlive()) {
            CAM_LOGW("Failed to create boost during camera entering");
        }
        holder->push_back(std::shared_ptr<PerfOperator>(std::move(boostOp)));
    }

    std::shared_ptr<PerfOperator> customOp = __enterCamCustom();
    if (customOp) {
        holder->push_back(customOp);
        holder->setCustomHolder(customOp);
    } else {
        holder->setCustomHolder(platformOp);
    }
    return holder;
}

std::shared_ptr<PerfOperator> Cam3PerfCtrlImp::__enterCamCustom() {
    CAM_LOGD("__enterCamCustom");
    if (mfnEnterCamCPUCtrl == nullptr) {
        CAM_LOGW("No custom PerfCtrl function(enterCam time).");
        return nullptr;
    }
    CustomOutCmds outCmds;
    outCmds.max_load_factor(1.0f);
    CustomParams params;
    unsigned int timeout = 0;

    // The JSON list, once loaded, stands in for the customisation function.
    std::vector<int> cmds;
    size_t count = 0;
    const char* user = "enterCam";
    bool fromJson = false;
    {
        qvncam::MutexLock lock(mJsonLock);
        fromJson = mJsonCmdSet.enterCamExist;
        if (fromJson) {
            cmds = mJsonCmdSet.enterCamCmds;
        }
    }
    if (fromJson) {
        CAM_LOGD("EnterCam config from json");
        count = cmds.size();
        user = "enterCam-json";
    } else {
        if (!mfnEnterCamCPUCtrl(params, outCmds, timeout)) {
            return nullptr;
        }
        count = countOutCmdInts(outCmds);
        cmds.reserve(count);
        if (miLogLevel.load(std::memory_order_relaxed) != 0) {
            CAM_LOGD("customizeCPUCtrl(enterCam) params:");
        }
        __processOutCmds(outCmds, cmds);
    }
    auto op = std::make_shared<PerfOperatorImp>(std::move(cmds), static_cast<int>(timeout), user);
    if (!op->isAlive()) {
        CAM_LOGW("Failed to create PerfOperator during %s, outSize=%lu", "enterCam",
                 static_cast<unsigned long>(count));
    }
    return op;
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
