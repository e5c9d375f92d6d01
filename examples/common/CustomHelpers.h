// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the example customisation libraries (../custom and ../power_saving) share: the
// device they are written for, and how they read stream configurations and requests.
// A library started from either example needs this header as well.

#include <PerfCtrlCustom.h>

#include <cstddef>
#include <cstdint>
#include <cstring>

#define EXPORT __attribute__((visibility("default")))

namespace camcustom {

using NSCam::NSCamFeature::NSCamPerfCtrl::CustomOutCmds;
using NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams;
using NSCam::NSCamFeature::NSCamPerfCtrl::OverwriteCPUControls;

// ---- This device ------------------------------------------------------------------

// Two CPUs: CPU 0 (cluster 0, little) and CPU 1 (cluster 1, big).
constexpr int kCpuLittle = 0x1;
constexpr int kCpuBig = 0x2;
constexpr int kCpuAll = kCpuLittle | kCpuBig;
constexpr int kNoPlacement = -1;  // leave the thread where the scheduler puts it

// CPU-affinity scenes: chosen at configure time (CAM_CPU_AFFY_SCENE), handed back to
// queryAppropriateCPU for every thread that asks to be placed.
enum Scene : int {
    kSceneDefault = 0,
    kScenePhoto = 1,
    kSceneVideo = 2,
    kSceneVideoHighFps = 3,
};
constexpr int kAnyScene = -1;

// Camera metadata the policies read (Android tag numbers and values).
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

// The mask of the first placement that matches the thread's name and the scene.
template <size_t N>
int placeThread(const Placement (&placements)[N], const char* threadName, int scene) {
    if (!threadName)
        return kNoPlacement;
    for (const auto& p : placements) {
        if (std::strncmp(threadName, p.threadPrefix, std::strlen(p.threadPrefix)) == 0 &&
            (p.scene == kAnyScene || p.scene == scene)) {
            return p.cpuMask;
        }
    }
    return kNoPlacement;
}

// ---- Reading the stream configuration and requests ----------------------------------

struct StreamSummary {
    bool video = false;       // an output stream feeds the video encoder
    uint32_t videoWidth = 0;  // widest such stream
    int maxFps = 30;          // top of the target frame-rate range
};

inline StreamSummary summarise(const qcam::StreamConfiguration& config) {
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

// The request's capture intent, or -1 when it has none.
inline int captureIntent(const NSCam::IMetadata* request) {
    if (!request)
        return -1;
    auto entry = request->entryFor(kTagCaptureIntent, 0);
    return entry.isEmpty() ? -1 : entry.itemAt(0, NSCam::Type2Type<int>());
}

}  // namespace camcustom
