#pragma once

// Reads the controller's private fields for tests (the class names this peer a friend).

#include "Cam3PerfCtrlImp.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

class Cam3PerfCtrlImpTestPeer {
  public:
    explicit Cam3PerfCtrlImpTestPeer(Cam3PerfCtrlImp& ctrl) : mCtrl(ctrl) {}

    int logLevel() const { return mCtrl.miLogLevel; }
    CustomEnterCameraFn enterCam() const { return mCtrl.mfnEnterCamCPUCtrl; }
    CustomConfigTimeFn configTime() const { return mCtrl.mfnConfigTimeCPUCtrl; }
    CustomRuntimeFn runtime() const { return mCtrl.mfnRuntimeCPUCtrl; }
    QueryAppropriateCPUFn queryCpu() const { return mCtrl.mfnQueryAppropriateCPU; }
    bool hasJsonConvertor() const { return mCtrl.mpJsonConvertor != nullptr; }
    bool jsonEnabled() const { return mCtrl.mbEnableJson; }
    const JsonCmdSet& jsonCmdSet() const { return mCtrl.mJsonCmdSet; }
    int cpuAffyScene() const { return mCtrl.miCPUAffyScene; }

  private:
    Cam3PerfCtrlImp& mCtrl;
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
