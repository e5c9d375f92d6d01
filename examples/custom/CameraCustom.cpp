// SPDX-License-Identifier: Apache-2.0
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

// The device (two CPUs, the affinity scenes), the metadata read and the shared readers
// come from the header beside both examples: copy it along with this folder.
#include "../common/CustomHelpers.h"

using namespace camcustom;

namespace {

// ---- This policy ------------------------------------------------------------------

// Frequency floors in kHz.
constexpr int kLittleBase = 1000000;
constexpr int kLittleBusy = 1400000;
constexpr int kLittleMax = 1800000;
constexpr int kBigBase = 1200000;
constexpr int kBigBusy = 1800000;
constexpr int kBigMax = 2200000;

// First match wins.
constexpr Placement kPlacements[] = {
    {"CamPreview", kAnyScene, kCpuLittle},       // display path: light work
    {"CamCapture", kScenePhoto, kCpuAll},        // shot processing: every CPU
    {"CamEncode", kSceneVideoHighFps, kCpuBig},  // 60 fps encode feed: the big CPU only
    {"CamEncode", kSceneVideo, kCpuAll},        {"CamIsp", kAnyScene, kCpuAll},
};

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
    return placeThread(kPlacements, threadName, scene);
}

}  // extern "C"
