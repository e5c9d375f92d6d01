// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Cam3PerfCtrl"

#include <pthread.h>
#include <sched.h>

#include <cerrno>
#include <cstring>

#include "Cam3PerfCtrlInternal.h"
#include "CamLog.h"
#include "PerfCtrlProperties.h"
#include "qvncam/platform/Properties.h"
#include "qvncam_perfctrl.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

constexpr size_t kThreadNameLen = 16;  // the kernel's limit, terminator included
// The set handed to the kernel covers 1024 CPUs.
constexpr size_t kCpuSetBytes = 128;
// Positions of the mask walked into the set; those above bit 31 stay clear.
constexpr int kAffinityPositions = 128;
// What the customisation answers for a thread it does not place, and what queryAffinity
// answers then.
constexpr int kNoPlacement = -1;
constexpr int kNoMask = 0;
constexpr pid_t kCallingThread = 0;

// The forced scene when the property is 0 or more, else the configured one.
int chooseScene(int configuredScene) {
    const int scene = qvncam::platform::property_get_int32(
        PerfCtrlProperties::kAffinityScene.name, PerfCtrlProperties::kAffinityScene.defaultValue);
    return scene >= 0 ? scene : configuredScene;
}

}  // namespace

bool Cam3PerfCtrlImp::setAffinity() {
    if (qvncam::platform::property_get_bool(PerfCtrlProperties::kAffinityForceOff.name,
                                            PerfCtrlProperties::kAffinityForceOff.defaultValue)) {
        return false;
    }
    if (mfnQueryAppropriateCPU == nullptr) {
        return false;
    }
    const int scene = chooseScene(miCPUAffyScene.load(std::memory_order_relaxed));
    char name[kThreadNameLen] = {};
    if (pthread_getname_np(pthread_self(), name, sizeof(name)) != 0) {
        CAM_LOGW("Failed to get thread name");
        return false;
    }
    CAM_LOGD("QueryAppropriateCPU + (%d)", scene);
    const int mask = mfnQueryAppropriateCPU(name, scene);
    CAM_LOGD("QueryAppropriateCPU - (%x)", static_cast<unsigned int>(mask));
    if (mask == kNoPlacement) {
        CAM_LOGD("Thread %s affinity undefined", name);
        return false;
    }
    if (!checkCPUMask(mask)) {
        CAM_LOGW("%s illegal cpu mask: %x", name, static_cast<unsigned int>(mask));
        return false;
    }
    cpu_set_t set;
    static_assert(sizeof(set) == kCpuSetBytes, "the affinity set covers 1024 CPUs");
    CPU_ZERO(&set);
    uint32_t bits = static_cast<uint32_t>(mask);
    for (int i = 0; i < kAffinityPositions; ++i) {
        if (bits & 1u) {
            CPU_SET(i, &set);
        }
        bits >>= 1;
    }
    CAM_LOGD("sched_setaffinity() + mask:%x", static_cast<unsigned int>(mask));
    if (sched_setaffinity(kCallingThread, sizeof(set), &set) != 0) {
        CAM_LOGE("%s fail to sched_setaffinity: %s", name, strerror(errno));
        return false;
    }
    CAM_LOGD("Thread %s set affinity to %x", name, static_cast<unsigned int>(mask));
    return true;
}

int Cam3PerfCtrlImp::queryAffinity(const char* threadName) {
    const int scene = chooseScene(miCPUAffyScene.load(std::memory_order_relaxed));
    // Read once per process, unlike setAffinity: a later change does not reach queries.
    static const bool forceOff =
        qvncam::platform::property_get_bool(PerfCtrlProperties::kAffinityForceOff.name,
                                            PerfCtrlProperties::kAffinityForceOff.defaultValue);
    if (forceOff || mfnQueryAppropriateCPU == nullptr) {
        return kNoMask;
    }
    const int mask = mfnQueryAppropriateCPU(threadName, scene);
    return mask == kNoPlacement ? kNoMask : mask;
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam

using NSCam::NSCamFeature::NSCamPerfCtrl::Cam3PerfCtrl;

extern "C" bool qvncam_perfctrl_set_affinity(void) {
    return Cam3PerfCtrl::getInstance()->setAffinity();
}

extern "C" int qvncam_perfctrl_query_affinity(const char* threadName) {
    return Cam3PerfCtrl::getInstance()->queryAffinity(threadName);
}
