// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

// Command lists read from the JSON configuration. Flags only turn true and lists
// only grow: nothing clears the record.
struct JsonCmdSet {
    bool enterCamExist = false;
    std::vector<int> enterCamCmds;
    bool configCamExist = false;
    std::vector<int> configCamCmds;
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
