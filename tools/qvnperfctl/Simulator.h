#pragma once

// Plays a session script through the controller, in real time, and records what the
// host power service saw.

#include <Cam3PerfCtrl.h>

#include "PropertyFile.h"
#include "SessionScript.h"
#include "Timeline.h"

namespace qvnperfctl {

// Where the custom locks come from, to name them: the user strings the controller
// gives them ("enterCam" or "enterCam-json", "configureStream" or
// "configureStream-from-json").
struct CustomOrigins {
    std::string enterCamera = "enterCam";
    std::string configureStream = "configureStream";
};

// Runs every step; `properties` is the file the controller reads (prop steps rewrite
// it). Whatever the session still holds at its end is reported, then released.
Timeline simulate(const Session& session, NSCam::NSCamFeature::NSCamPerfCtrl::Cam3PerfCtrl& ctrl,
                  PropertyFile& properties, const CustomOrigins& origins = {});

}  // namespace qvnperfctl
