// SPDX-License-Identifier: Apache-2.0
// A power-saving customisation policy, to set against the example policy in
// ../custom/CameraCustom.cpp with
//
//     qvnperfctl compare SESSION.json
//         --a --custom path/to/custom/libcameracustom.so
//         --b --custom path/to/power_saving/libcameracustom.so
//
// Same device, same entry points; it asks for less: no floor while the camera only
// previews, lower floors for shots and recording and for shorter times, C2PS left to
// pick its own minimum, and camera threads kept on the little CPU unless a shot or a
// high-frame-rate encode needs the big one.

// The device, the metadata read and the shared readers: the header beside both examples.
#include "../common/CustomHelpers.h"

using namespace camcustom;

namespace {

// Frequency floors in kHz: each a step below the example policy's.
constexpr int kLittleBusy = 1100000;
constexpr int kLittleShot = 1400000;
constexpr int kBigBase = 1000000;
constexpr int kBigShot = 1600000;

// First match wins: the little CPU by default.
constexpr Placement kPlacements[] = {
    {"CamEncode", kSceneVideoHighFps, kCpuBig},
    {"CamCapture", kScenePhoto, kCpuAll},
    {"Cam", kAnyScene, kCpuLittle},
};

}  // namespace

extern "C" {

// Camera open: only keep the big CPU online; no frequency floor.
EXPORT bool customizeEnterCameraPerf(const CustomParams& /*params*/, CustomOutCmds& cmds,
                                     unsigned int& timeout) {
    cmds["PERF_RES_CPUCORE_MIN_CLUSTER_1"] = 1;
    timeout = 0;
    return true;
}

// Stream configuration: preview gets nothing; recording a modest floor, C2PS for
// 4K or high frame rates only.
EXPORT bool customizeConfigTimeCPUCtrl(const qcam::StreamConfiguration& config,
                                       const CustomParams& /*params*/, CustomOutCmds& cmds,
                                       unsigned int& timeout) {
    const StreamSummary s = summarise(config);
    timeout = 0;
    if (!s.video) {
        cmds["CAM_CPU_AFFY_SCENE"] = kScenePhoto;
        return true;
    }
    const bool uhd = s.videoWidth > 1920;
    const bool highFps = s.maxFps > 30;
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = kLittleBusy;
    if (uhd || highFps) {
        cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_1"] = kBigBase;
        cmds["C2PS_FEATURE_CUSTOMIZATION"] = 1;
        cmds["C2PS_SCENARIO"] = 9;
        cmds["C2PS_DISABLE_INEFF_CPUFREQ_COMMAND"] = 1;
        cmds["C2PS_LMCORE_UM_RATIO_COMMAND"] = 60;
    }
    if (uhd)
        cmds["PERF_RES_DRAM_OPP_MIN"] = 1;
    cmds["CAM_CPU_AFFY_SCENE"] = highFps ? kSceneVideoHighFps : kSceneVideo;
    return true;
}

// Each request: shots get a lower floor for a shorter time; the long-lived locks are
// never raised.
EXPORT bool customizeRuntimeCPUCtrl(const NSCam::IMetadata* request, const CustomParams& /*params*/,
                                    CustomOutCmds& cmds, unsigned int& timeout,
                                    OverwriteCPUControls& /*overwrite*/) {
    switch (captureIntent(request)) {
        case kIntentStillCapture:
        case kIntentZeroShutterLag:
            cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = kLittleShot;
            cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_1"] = kBigShot;
            timeout = 150;
            return true;
        case kIntentVideoSnapshot:
            cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_1"] = kBigShot;
            timeout = 100;
            return true;
        default:
            return false;
    }
}

EXPORT int queryAppropriateCPU(const char* threadName, int scene) {
    return placeThread(kPlacements, threadName, scene);
}

}  // extern "C"
