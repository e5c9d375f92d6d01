// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Cam3PerfCtrl"

#include "Cam3PerfCtrlInternal.h"

#include <unistd.h>

#include "CamLog.h"
#include "NSCamProperties.h"
#include "PerfCtrlDump.h"
#include "PerfCtrlHelper.h"
#include "PerfCtrlProperties.h"
#include "qvncam/platform/ProcessProfiles.h"
#include "qvncam/platform/Properties.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

constexpr char kProcessProfile[] = "ProcessCapacityNormal";
// Legal CPU masks name some of CPUs 0 to 7 and nothing else.
constexpr unsigned int kMaxCpuMask = 0xff;

}  // namespace

// Multi-camera zoom tuning, read once at library load.
int32_t g_multicam_zoom_dram_opp = NSCam::Utils::Properties::property_get_int32(
    PerfCtrlProperties::kZoomDramOpp.name, PerfCtrlProperties::kZoomDramOpp.defaultValue);
int32_t g_multicam_zoom_cpu0_freq = NSCam::Utils::Properties::property_get_int32(
    PerfCtrlProperties::kZoomCpu0Freq.name, PerfCtrlProperties::kZoomCpu0Freq.defaultValue);
int32_t g_multicam_zoom_cpu1_freq = NSCam::Utils::Properties::property_get_int32(
    PerfCtrlProperties::kZoomCpu1Freq.name, PerfCtrlProperties::kZoomCpu1Freq.defaultValue);
int32_t g_multicam_zoom_cpu2_freq = NSCam::Utils::Properties::property_get_int32(
    PerfCtrlProperties::kZoomCpu2Freq.name, PerfCtrlProperties::kZoomCpu2Freq.defaultValue);

Cam3PerfCtrl::~Cam3PerfCtrl() = default;

namespace {

// The dump shows the process's one controller, from its construction to its destruction at
// exit; other controllers (tests, tools) built directly are not announced.
struct PublishedController {
    Cam3PerfCtrlImp ctrl;
    PublishedController() { publishControllerForDump(&ctrl); }
    ~PublishedController() { publishControllerForDump(nullptr); }
    PublishedController(const PublishedController&) = delete;
    PublishedController& operator=(const PublishedController&) = delete;
};

}  // namespace

Cam3PerfCtrl* Cam3PerfCtrl::getInstance() {
    static PublishedController instance;
    return &instance.ctrl;
}

Cam3PerfCtrlImp::Cam3PerfCtrlImp() {
    PerfCtrlHelper::loadCustomPerfFunctions(mfnEnterCamCPUCtrl, mfnConfigTimeCPUCtrl,
                                            mfnRuntimeCPUCtrl, mfnQueryAppropriateCPU);
    miLogLevel.store(
        qvncam::platform::property_get_int32(PerfCtrlProperties::kLogLevel.name,
                                             PerfCtrlProperties::kLogLevel.defaultValue),
        std::memory_order_relaxed);
    mpJsonConvertor.reset(QvncamJSONConvertor::createInstance());

    if (qvncam::platform::SetProcessProfiles(getuid(), getpid(), {kProcessProfile})) {
        CAM_LOGD("Apply process profile: %s", kProcessProfile);
    } else {
        CAM_LOGW("Failed to apply process profile: %s", kProcessProfile);
    }
}

Cam3PerfCtrlImp::~Cam3PerfCtrlImp() {
    // Configure-stream list, enter-camera list, then the convertor.
    std::vector<int>().swap(mJsonCmdSet.configCamCmds);
    std::vector<int>().swap(mJsonCmdSet.enterCamCmds);
    mpJsonConvertor.reset();
}

bool Cam3PerfCtrlImp::checkCPUMask(int mask) {
    // 1 to kMaxCpuMask in one unsigned comparison: 0 and negative masks wrap past it.
    return static_cast<unsigned int>(mask) - 1u < kMaxCpuMask;
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
