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

#include <PerfCtrlCustom.h>

#include <cstring>

using NSCam::NSCamFeature::NSCamPerfCtrl::CustomOutCmds;
using NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams;
using NSCam::NSCamFeature::NSCamPerfCtrl::OverwriteCPUControls;

#define EXPORT __attribute__((visibility("default")))

namespace {

// Two CPUs: CPU 0 (cluster 0, little) and CPU 1 (cluster 1, big).
constexpr int kCpuLittle = 0x1;
constexpr int kCpuBig = 0x2;
constexpr int kCpuAll = kCpuLittle | kCpuBig;
constexpr int kNoPlacement = -1;

// Frequency floors in kHz: each a step below the example policy's.
constexpr int kLittleBusy = 1100000;
constexpr int kLittleShot = 1400000;
constexpr int kBigBase = 1000000;
constexpr int kBigShot = 1600000;

enum Scene : int { kSceneDefault = 0, kScenePhoto = 1, kSceneVideo = 2, kSceneVideoHighFps = 3 };
constexpr int kAnyScene = -1;

constexpr uint32_t kTagCaptureIntent = 0x1000d;  // android.control.captureIntent
enum CaptureIntent : int {
    kIntentStillCapture = 2,
    kIntentVideoSnapshot = 4,
    kIntentZeroShutterLag = 5,
};

struct Placement {
    const char* threadPrefix;
    int scene;
    int cpuMask;
};

// First match wins: the little CPU by default.
constexpr Placement kPlacements[] = {
    {"CamEncode", kSceneVideoHighFps, kCpuBig},
    {"CamCapture", kScenePhoto, kCpuAll},
    {"Cam", kAnyScene, kCpuLittle},
};

struct StreamSummary {
    bool video = false;
    uint32_t videoWidth = 0;
    int maxFps = 30;
};

StreamSummary summarise(const qcam::StreamConfiguration& config) {
    StreamSummary s;
    for (const auto& stream : config.streams) {
        if (stream.streamType == static_cast<int32_t>(qcam::StreamType::OUTPUT) &&
            (stream.usage & qcam::BUFFER_USAGE_VIDEO_ENCODER)) {
            s.video = true;
            if (stream.width > s.videoWidth)
                s.videoWidth = stream.width;
        }
    }
    auto fps = config.sessionParams.entryFor(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE, 0);
    if (fps.count() >= 2)
        s.maxFps = fps.itemAt(1, NSCam::Type2Type<int>());
    return s;
}

int captureIntent(const NSCam::IMetadata* request) {
    if (!request)
        return -1;
    auto entry = request->entryFor(kTagCaptureIntent, 0);
    return entry.isEmpty() ? -1 : entry.itemAt(0, NSCam::Type2Type<int>());
}

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
    if (!threadName)
        return kNoPlacement;
    for (const auto& p : kPlacements) {
        if (std::strncmp(threadName, p.threadPrefix, std::strlen(p.threadPrefix)) == 0 &&
            (p.scene == kAnyScene || p.scene == scene)) {
            return p.cpuMask;
        }
    }
    return kNoPlacement;
}

}  // extern "C"
