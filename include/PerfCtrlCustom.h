// SPDX-License-Identifier: Apache-2.0
#pragma once

// Records and function types shared with the device maker's customisation
// library ("libcameracustom.so"). The library exports the entries below with C
// linkage; each one is optional. customizeRuntimeCPUCtrl and queryAppropriateCPU may be
// called on several threads at once; the library must not call
// Cam3PerfCtrl::getInstance() from its static constructors (it is loaded while the
// controller is being built).

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "IMetadata.h"
#include "StreamConfiguration.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

using CustomParams = std::vector<std::pair<std::string, std::string>>;
using CustomOutCmds = std::unordered_map<std::string, int>;

// Commands a request lays on top of the enter-camera and configure-stream locks.
struct OverwriteCPUControls {
    CustomOutCmds enterCamCmds;
    CustomOutCmds configCamCmds;
};

using CustomEnterCameraFn = bool (*)(const CustomParams& params, CustomOutCmds& cmds,
                                     unsigned int& timeout);
using CustomConfigTimeFn = bool (*)(const qcam::StreamConfiguration& config,
                                    const CustomParams& params, CustomOutCmds& cmds,
                                    unsigned int& timeout);
using CustomRuntimeFn = bool (*)(const NSCam::IMetadata* request, const CustomParams& params,
                                 CustomOutCmds& cmds, unsigned int& timeout,
                                 OverwriteCPUControls& overwrite);
using QueryAppropriateCPUFn = int (*)(const char* threadName, int scene);

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam

// The entry points a customisation library may define (with these exact names).
// customizeEnterCameraPerf, customizeConfigTimeCPUCtrl and customizeRuntimeCPUCtrl are used
// together or not at all: without one of them, none is called. Each returns true to have the
// resources named in `cmds` (names of PerfCtrlHelper::StringToPowerEnumMap; other names are
// ignored, but for the C2PS_* and CAM_CPU_AFFY_SCENE keys read at configure-stream) held for
// `timeout` ms (0 = until ended). False means no custom lock at enter-camera and per request,
// and a lock on an empty list at configure-stream. queryAppropriateCPU returns a mask of
// CPUs 0..7 (1..255), or -1 for no placement.
extern "C" {
bool customizeEnterCameraPerf(const NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams& params,
                              NSCam::NSCamFeature::NSCamPerfCtrl::CustomOutCmds& cmds,
                              unsigned int& timeout);
bool customizeConfigTimeCPUCtrl(const qcam::StreamConfiguration& config,
                                const NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams& params,
                                NSCam::NSCamFeature::NSCamPerfCtrl::CustomOutCmds& cmds,
                                unsigned int& timeout);
bool customizeRuntimeCPUCtrl(const NSCam::IMetadata* request,
                             const NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams& params,
                             NSCam::NSCamFeature::NSCamPerfCtrl::CustomOutCmds& cmds,
                             unsigned int& timeout,
                             NSCam::NSCamFeature::NSCamPerfCtrl::OverwriteCPUControls& overwrite);
int queryAppropriateCPU(const char* threadName, int scene);
}
