// Example customisation library for the camera performance controller.
//
// The controller (libqvncam_perfctrl.so) opens "libcameracustom.so" once, when it is
// created, and looks up the four entry points below. Start from this file: change the
// tables and the policy to suit your device, build it as libcameracustom.so in your
// vendor tree, and check the result with
//
//     qvnperfctl simulate SESSION.json --custom path/to/libcameracustom.so
//
// What the entries hand back:
//   - power resources by name (PERF_RES_..., see `qvnperfctl resources`) with their
//     values; the controller turns them into one power-service lock. Names outside the
//     vocabulary are dropped.
//   - control keys that are not resources: the C2PS_... keys and CAM_CPU_AFFY_SCENE,
//     read by the controller when streams are configured.
//   - a duration in milliseconds for the lock; 0 keeps it until the camera pipeline
//     lets it go.
//   - for a request, extra resources laid on the locks taken when the camera opened and
//     when the streams were configured (OverwriteCPUControls); they stay for as long as
//     those locks do.
//   - a CPU mask for a camera thread, by its name and the scene chosen at configure time.
//
// Enter-camera, configure-stream and per-request customisation come as a set: the
// controller uses the three only when all three are exported. queryAppropriateCPU is
// independent of them.

#include <PerfCtrlCustom.h>

#include <cstring>

using NSCam::NSCamFeature::NSCamPerfCtrl::CustomOutCmds;
using NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams;
using NSCam::NSCamFeature::NSCamPerfCtrl::OverwriteCPUControls;

#define EXPORT __attribute__((visibility("default")))

namespace {

// ---- This device ------------------------------------------------------------------

// Two CPUs: CPU 0 (cluster 0, little) and CPU 1 (cluster 1, big).
constexpr int kCpuLittle = 0x1;
constexpr int kCpuBig = 0x2;
constexpr int kCpuAll = kCpuLittle | kCpuBig;
constexpr int kNoPlacement = -1;  // leave the thread where the scheduler puts it

// Frequency floors in kHz.
constexpr int kLittleBase = 1000000;
constexpr int kLittleBusy = 1400000;
constexpr int kLittleMax = 1800000;
constexpr int kBigBase = 1200000;
constexpr int kBigBusy = 1800000;
constexpr int kBigMax = 2200000;

// CPU-affinity scenes: chosen at configure time (CAM_CPU_AFFY_SCENE), handed back to
// queryAppropriateCPU for every thread that asks to be placed.
enum Scene : int {
    kSceneDefault = 0,
    kScenePhoto = 1,
    kSceneVideo = 2,
    kSceneVideoHighFps = 3,
};
constexpr int kAnyScene = -1;

// Camera metadata the policy reads (Android tag numbers and values).
constexpr uint32_t kTagCaptureIntent = 0x1000d;  // android.control.captureIntent
enum CaptureIntent : int {
    kIntentPreview = 1,
    kIntentStillCapture = 2,
    kIntentVideoRecord = 3,
    kIntentVideoSnapshot = 4,
    kIntentZeroShutterLag = 5,
};

// ---- Thread placement ---------------------------------------------------------------

struct Placement {
    const char* threadPrefix;  // matches "CamPreview", "CamPreview-1", ...
    int scene;                 // kAnyScene or one scene
    int cpuMask;
};

// First match wins.
constexpr Placement kPlacements[] = {
    {"CamPreview", kAnyScene, kCpuLittle},       // display path: light work
    {"CamCapture", kScenePhoto, kCpuAll},        // shot processing: every CPU
    {"CamEncode", kSceneVideoHighFps, kCpuBig},  // 60 fps encode feed: the big CPU only
    {"CamEncode", kSceneVideo, kCpuAll},        {"CamIsp", kAnyScene, kCpuAll},
};

// ---- Reading the stream configuration -----------------------------------------------

struct StreamSummary {
    bool video = false;       // an output stream feeds the video encoder
    uint32_t videoWidth = 0;  // widest such stream
    int maxFps = 30;          // top of the target frame-rate range
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

// Camera open: floors held for as long as the camera stays open.
EXPORT bool customizeEnterCameraPerf(const CustomParams& /*params*/, CustomOutCmds& cmds,
                                     unsigned int& timeout) {
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = kLittleBase;
    cmds["PERF_RES_CPUCORE_MIN_CLUSTER_1"] = 1;  // keep the big CPU online
    timeout = 0;
    return true;
}

// Stream configuration: floors for the use case, C2PS options and the affinity scene.
EXPORT bool customizeConfigTimeCPUCtrl(const qcam::StreamConfiguration& config,
                                       const CustomParams& /*params*/, CustomOutCmds& cmds,
                                       unsigned int& timeout) {
    const StreamSummary s = summarise(config);
    timeout = 0;  // for as long as these streams are configured

    if (!s.video) {
        cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = kLittleBusy;
        cmds["CAM_CPU_AFFY_SCENE"] = kScenePhoto;
        return true;
    }

    const bool uhd = s.videoWidth > 1920;
    const bool highFps = s.maxFps > 30;
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = kLittleBusy;
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_1"] = uhd ? kBigBusy : kBigBase;
    if (uhd)
        cmds["PERF_RES_DRAM_OPP_MIN"] = 2;  // 4K frames need memory bandwidth

    // C2PS regulates the CPUs frame by frame while recording.
    cmds["C2PS_FEATURE_CUSTOMIZATION"] = 1;  // present: set C2PS up for these streams
    cmds["C2PS_SCENARIO"] = 9;               // 9: chosen from the streams and frame rate
    cmds["C2PS_DISABLE_INEFF_CPUFREQ_COMMAND"] = 1;
    cmds["C2PS_LMCORE_UM_RATIO_COMMAND"] = 80;
    cmds["C2PS_UM_MIN_COMMAND"] = highFps ? 300 : 200;
    cmds["C2PS_PF_POLICY_COMMAND"] = highFps ? 1 : 0;

    cmds["CAM_CPU_AFFY_SCENE"] = highFps ? kSceneVideoHighFps : kSceneVideo;
    return true;
}

// Each request: a lock for the request's own work (released when the request completes,
// or after `timeout`), and changes to the long-lived locks.
EXPORT bool customizeRuntimeCPUCtrl(const NSCam::IMetadata* request, const CustomParams& /*params*/,
                                    CustomOutCmds& cmds, unsigned int& timeout,
                                    OverwriteCPUControls& overwrite) {
    switch (captureIntent(request)) {
        case kIntentStillCapture:
            // A full-resolution shot: both clusters up while it is processed.
            cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = kLittleMax;
            cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_1"] = kBigMax;
            timeout = 300;
            return true;
        case kIntentZeroShutterLag:
            // Zero-shutter-lag keeps a ring of full-size frames: lift the open-camera
            // floor of the little cluster for the rest of the session.
            cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_1"] = kBigMax;
            timeout = 200;
            overwrite.enterCamCmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = kLittleBusy;
            return true;
        case kIntentVideoSnapshot:
            // A still taken while recording: encode it on the big CPU, and keep the
            // recording's floor on the little CPU higher until the streams change.
            cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_1"] = kBigMax;
            timeout = 150;
            overwrite.configCamCmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = kLittleMax;
            return true;
        case kIntentPreview:
        case kIntentVideoRecord:
        default:
            return false;  // the configure-time locks are enough
    }
}

// Where a camera thread should run, by its name and the current scene.
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
