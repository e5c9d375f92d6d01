// SPDX-License-Identifier: Apache-2.0
#pragma once

// What the controller's sources share beyond the published class.

#include <cstddef>
#include <cstdint>
#include <string>

#include "Cam3PerfCtrlImp.h"
#include "QvncamJSON.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

// Room a customisation output map needs as a command list: two ints for every entry with a
// value of 0 or more, whether or not its name is a resource.
size_t countOutCmdInts(const CustomOutCmds& outCmds);

// Tuning read once at library load (multi-camera zoom boost).
extern int32_t g_multicam_zoom_dram_opp;
extern int32_t g_multicam_zoom_cpu0_freq;
extern int32_t g_multicam_zoom_cpu1_freq;
extern int32_t g_multicam_zoom_cpu2_freq;

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
