// SPDX-License-Identifier: Apache-2.0
#include "Cam3PerfCtrlImp.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

class Cam3PerfCtrlImpTestPeer {
  public:
    static bool jsonOn(Cam3PerfCtrlImp& c) { return c.mbEnableJson; }
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
