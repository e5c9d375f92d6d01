// SPDX-License-Identifier: Apache-2.0
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

// Multi-camera zoom tuning.
inline constexpr int32_t kZoomDramOppUnset = -255;  // no DRAM operating point set
inline constexpr IntProperty kZoomDramOpp{"vendor.debug.multicam.zoom.dram.opp", kZoomDramOppUnset,
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

// Every property above, for listings and for tools that check a value before it is set.
struct Listed {
    const char* name;
    ReadAt readAt;
    bool integer;          // read with property_get_int32, else as a switch
    int32_t defaultValue;  // the switch's default as 0 or 1

    constexpr Listed(const IntProperty& p)  // NOLINT(google-explicit-constructor)
        : name(p.name), readAt(p.readAt), integer(true), defaultValue(p.defaultValue) {}
    constexpr Listed(const BoolProperty& p)  // NOLINT(google-explicit-constructor)
        : name(p.name), readAt(p.readAt), integer(false), defaultValue(p.defaultValue ? 1 : 0) {}
};
inline constexpr Listed kAll[] = {
    kLogLevel,          kEnableJson,           kDramCmdEnable,    kNotifyZeltro,
    kIdlePreferEnable,  kRunnableBoostDisable, kDvfsMmModeEnable, kBoostFreqCluster0,
    kBoostFreqCluster1, kBoostFreqCluster2,    kZoomDramOpp,      kZoomCpu0Freq,
    kZoomCpu1Freq,      kZoomCpu2Freq,         kAffinityScene,    kAffinityForceOff,
};

}  // namespace PerfCtrlProperties
}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
