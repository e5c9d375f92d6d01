// SPDX-License-Identifier: Apache-2.0
#pragma once

// Plays a session script through the controller, on the virtual clock or in real time,
// and records what the host power service saw.

#include <Cam3PerfCtrl.h>

#include "script/PropertyFile.h"
#include "script/SessionScript.h"
#include "timeline/Timeline.h"

namespace qvnperfctl {

// Where the custom locks come from, to name them: the user strings the controller
// gives them ("enterCam" or "enterCam-json", "configureStream" or
// "configureStream-from-json").
struct CustomOrigins {
    std::string enterCamera = "enterCam";
    std::string configureStream = "configureStream";
};

struct PlayOptions {
    // Lets the session's time pass for real instead of on the virtual clock.
    bool realTime = false;
    CustomOrigins origins;
};

// The task id that eas steps with tid "self" use on the virtual clock, where the output
// must not depend on the simulator's own thread.
constexpr int kSimulatedPipelineTid = 1000;

// Runs every step; `properties` is the file the controller reads (prop steps rewrite
// it). Whatever the session still holds at its end is reported, then released. On the
// virtual clock the whole process runs on it during the call (the controller and the host
// power service alike), so the same session gives the same timeline every time.
Timeline simulate(const Session& session, NSCam::NSCamFeature::NSCamPerfCtrl::Cam3PerfCtrl& ctrl,
                  PropertyFile& properties, const PlayOptions& options = {});

}  // namespace qvnperfctl
