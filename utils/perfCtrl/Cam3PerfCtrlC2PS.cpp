// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Cam3PerfCtrl"

#include <algorithm>
#include <cstring>

#include "C2PSMachine.h"
#include "Cam3PerfCtrlInternal.h"
#include "CamLog.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

constexpr int kScenarioNoVideo = 0;
constexpr int kScenarioFHD30 = 2;
constexpr int kScenarioFHD60 = 3;
constexpr int kScenarioUHD30 = 4;
constexpr int kScenarioUHD60 = 5;
constexpr int kScenario8K30 = 6;
constexpr int kScenarioAuto = 9;

// Feature customisation 3 takes the bottom of the frame-rate range; any other, the top.
constexpr int kFeaturePaceAtMinFps = 3;
constexpr int kFallbackFps = 30;

// Scenario bounds: full HD up to 1920 pixels wide, 4K up to 7679; 30 and 60 fps classes.
constexpr uint32_t kMaxWidthFHD = 1920;
constexpr uint32_t kMaxWidthUHD = 7679;
constexpr int kFps30 = 30;
constexpr int kFps60 = 60;

constexpr uint64_t kConsideredUsage = qcam::BUFFER_USAGE_GPU_TEXTURE |
                                      qcam::BUFFER_USAGE_COMPOSER_OVERLAY |
                                      qcam::BUFFER_USAGE_VIDEO_ENCODER;

// Value of `key`, or `fallback` when the customisation output lacks it.
int valueOr(const CustomOutCmds& outCmds, const char* key, int fallback) {
    const auto it = outCmds.find(key);
    return it != outCmds.end() ? it->second : fallback;
}

int chooseFps(const qcam::StreamConfiguration& config, int featureCustomization) {
    const IMetadata::IEntry entry =
        config.sessionParams.entryFor(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE, 0);
    int fps = 0;
    if (!entry.isEmpty()) {
        const int minFps = entry.itemAt(0, Type2Type<int>());
        const int maxFps = entry.itemAt(1, Type2Type<int>());
        fps = featureCustomization == kFeaturePaceAtMinFps ? minFps : maxFps;
    }
    if (fps <= 0) {
        CAM_LOGW("C2PS overwrites fps to 30 due to invalid config fps");
        fps = kFallbackFps;
    }
    return fps;
}

int chooseScenario(const qcam::StreamConfiguration& config, int fps) {
    uint32_t widest = 0;
    bool video = false;
    for (const qcam::Stream& stream : config.streams) {
        if (stream.streamType != static_cast<int32_t>(qcam::StreamType::OUTPUT) ||
            (stream.usage & kConsideredUsage) == 0) {
            continue;
        }
        widest = std::max(widest, stream.width);
        video = video || (stream.usage & qcam::BUFFER_USAGE_VIDEO_ENCODER) != 0;
    }
    // The widest considered stream decides, even when a narrower one does the encoding.
    if (!video) {
        return kScenarioNoVideo;
    }
    if (fps <= kFps30 && widest <= kMaxWidthFHD)
        return kScenarioFHD30;
    if (fps <= kFps30 && widest <= kMaxWidthUHD)
        return kScenarioUHD30;
    if (fps <= kFps30)
        return kScenario8K30;
    if (fps <= kFps60 && widest <= kMaxWidthFHD)
        return kScenarioFHD60;
    if (fps <= kFps60)
        return kScenarioUHD60;
    CAM_LOGW("no suitable scenario for C2PS, pick FHD30 as default");
    return kScenarioFHD30;
}

}  // namespace

void Cam3PerfCtrlImp::__initC2PSPerfCtrl(const qcam::StreamConfiguration& config,
                                         const CustomOutCmds& outCmds) {
    // C2PS is set up only when the maker asks for it.
    const auto feature = outCmds.find("C2PS_FEATURE_CUSTOMIZATION");
    if (feature == outCmds.end()) {
        return;
    }
    const int featureCustomization = feature->second;
    int scenario = valueOr(outCmds, "C2PS_SCENARIO", kScenarioAuto);
    const bool disableIneffCpufreq = valueOr(outCmds, "C2PS_DISABLE_INEFF_CPUFREQ_COMMAND", 0) != 0;
    const int lmcoreUmRatio = valueOr(outCmds, "C2PS_LMCORE_UM_RATIO_COMMAND", 0);
    const int umMin = valueOr(outCmds, "C2PS_UM_MIN_COMMAND", 0);
    const bool pfPolicy = valueOr(outCmds, "C2PS_PF_POLICY_COMMAND", 0) > 0;

    const int fps = chooseFps(config, featureCustomization);
    if (scenario != kScenarioAuto) {
        CAM_LOGD("C2PS scenario is set by customer");
    } else {
        scenario = chooseScenario(config, fps);
    }
    CAM_LOGD("C2PS scenario: %d", scenario);

    C2PSInitParams params;
    std::memset(&params, 0, sizeof(params));
    params.fps = fps;
    params.scenario = scenario;
    params.featureCustomization = featureCustomization;
    params.disableIneffCpufreq = disableIneffCpufreq;
    params.lmcoreUmRatio = lmcoreUmRatio;
    params.umMin = umMin;
    params.pfPolicy = pfPolicy;
    C2PSMachine::init(params);
}

void Cam3PerfCtrlImp::__initCPUAffy(const qcam::StreamConfiguration& /*config*/,
                                    const CustomOutCmds& outCmds) {
    miCPUAffyScene.store(valueOr(outCmds, "CAM_CPU_AFFY_SCENE", 0), std::memory_order_relaxed);
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
