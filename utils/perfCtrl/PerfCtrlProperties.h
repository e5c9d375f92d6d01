#pragma once

// The system properties the controller reads: each name with its default and when it is
// read. The controller reads them through these constants, and so do the tool and tests.

#include <cstdint>

#include "PerfCtrlHelper.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {
namespace PerfCtrlProperties {

enum class ReadAt {
    LibraryLoad,  // once, by the static initialisers: a later change has no effect
    Call,         // afresh by each call that uses it
};

struct IntProperty {
    const char* name;
    int32_t defaultValue;
    ReadAt readAt;
};

struct BoolProperty {
    const char* name;
    bool defaultValue;
    ReadAt readAt;
};

// The controller's verbosity: at construction, each enter-camera and each operator.
inline constexpr IntProperty kLogLevel{"vendor.cam3perfctrl.log", PerfCtrlHelper::DEFAULT_LOG_LEVEL,
                                       ReadAt::Call};
inline constexpr IntProperty kEnableJson{"vendor.cam3perfctrl.enablejson", 0, ReadAt::Call};

// The platform enter-camera list.
inline constexpr BoolProperty kDramCmdEnable{"vendor.cam3dev.dramcmd.enable", true, ReadAt::Call};
inline constexpr BoolProperty kNotifyZeltro{"vendor.cam3dev.notify.zeltro", true, ReadAt::Call};
inline constexpr BoolProperty kIdlePreferEnable{"vendor.cam3dev.idleprefer.enable", false,
                                                ReadAt::Call};
inline constexpr BoolProperty kRunnableBoostDisable{"vendor.cam3dev.runnableboost.disable", true,
                                                    ReadAt::Call};
inline constexpr BoolProperty kDvfsMmModeEnable{"vendor.cam3dev.dvfsmmmode.enable", true,
                                                ReadAt::Call};

// Capture-pipeline boost floors per cluster; cluster 1 is deliberately far below the others.
inline constexpr IntProperty kBoostFreqCluster0{
    "vendor.debug.camera.capturePpl.boost.cpu.freq.cluster0", 2000000, ReadAt::LibraryLoad};
inline constexpr IntProperty kBoostFreqCluster1{
    "vendor.debug.camera.capturePpl.boost.cpu.freq.cluster1", 500000, ReadAt::LibraryLoad};
inline constexpr IntProperty kBoostFreqCluster2{
    "vendor.debug.camera.capturePpl.boost.cpu.freq.cluster2", 1800000, ReadAt::LibraryLoad};

// Multi-camera zoom tuning. -255: DRAM operating point not set.
inline constexpr IntProperty kZoomDramOpp{"vendor.debug.multicam.zoom.dram.opp", -255,
                                          ReadAt::LibraryLoad};
inline constexpr IntProperty kZoomCpu0Freq{"vendor.debug.multicam.zoom.cpu0.freq", -1,
                                           ReadAt::LibraryLoad};
inline constexpr IntProperty kZoomCpu1Freq{"vendor.debug.multicam.zoom.cpu1.freq", -1,
                                           ReadAt::LibraryLoad};
inline constexpr IntProperty kZoomCpu2Freq{"vendor.debug.multicam.zoom.cpu2.freq", -1,
                                           ReadAt::LibraryLoad};

// Thread affinity: a forced scene (-1: none) and the switch-off, which queryAffinity reads
// once per process.
inline constexpr IntProperty kAffinityScene{"vendor.cam3perfctrl.setaffinity.scene", -1,
                                            ReadAt::Call};
inline constexpr BoolProperty kAffinityForceOff{"vendor.cam3perfctrl.setaffinity.forceoff", false,
                                                ReadAt::Call};

// Every property above, for listings.
struct Listed {
    const char* name;
    ReadAt readAt;
};
inline constexpr Listed kAll[] = {
    {kLogLevel.name, kLogLevel.readAt},
    {kEnableJson.name, kEnableJson.readAt},
    {kDramCmdEnable.name, kDramCmdEnable.readAt},
    {kNotifyZeltro.name, kNotifyZeltro.readAt},
    {kIdlePreferEnable.name, kIdlePreferEnable.readAt},
    {kRunnableBoostDisable.name, kRunnableBoostDisable.readAt},
    {kDvfsMmModeEnable.name, kDvfsMmModeEnable.readAt},
    {kBoostFreqCluster0.name, kBoostFreqCluster0.readAt},
    {kBoostFreqCluster1.name, kBoostFreqCluster1.readAt},
    {kBoostFreqCluster2.name, kBoostFreqCluster2.readAt},
    {kZoomDramOpp.name, kZoomDramOpp.readAt},
    {kZoomCpu0Freq.name, kZoomCpu0Freq.readAt},
    {kZoomCpu1Freq.name, kZoomCpu1Freq.readAt},
    {kZoomCpu2Freq.name, kZoomCpu2Freq.readAt},
    {kAffinityScene.name, kAffinityScene.readAt},
    {kAffinityForceOff.name, kAffinityForceOff.readAt},
};

}  // namespace PerfCtrlProperties
}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
