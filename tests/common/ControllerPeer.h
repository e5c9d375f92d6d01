// SPDX-License-Identifier: Apache-2.0
#pragma once

// Reaches the controller's private steps and fields, for the tests and the fuzz targets.

#include "Cam3PerfCtrlInternal.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

class Cam3PerfCtrlImpTestPeer {
  public:
    static void setLogLevel(Cam3PerfCtrlImp& c, int level) { c.miLogLevel.store(level); }
    static int scene(Cam3PerfCtrlImp& c) { return c.miCPUAffyScene.load(); }
    static bool prepareJson(Cam3PerfCtrlImp& c, const QvncamJSONData& doc, JsonCmdSet& out) {
        return c.__prepareJsonCmds(doc, out);
    }
    static void setCustomisation(Cam3PerfCtrlImp& c, CustomEnterCameraFn enter,
                                 CustomConfigTimeFn config, CustomRuntimeFn runtime) {
        c.mfnEnterCamCPUCtrl = enter;
        c.mfnConfigTimeCPUCtrl = config;
        c.mfnRuntimeCPUCtrl = runtime;
    }
    static void processOutCmds(Cam3PerfCtrlImp& c, const CustomOutCmds& out,
                               std::vector<int>& cmds) {
        c.__processOutCmds(out, cmds);
    }
    static void initC2PS(Cam3PerfCtrlImp& c, const qcam::StreamConfiguration& config,
                         const CustomOutCmds& out) {
        c.__initC2PSPerfCtrl(config, out);
        c.__initCPUAffy(config, out);
    }
    // The record only grows by design; a fuzzer running millions of inputs must not.
    static void forgetJson(Cam3PerfCtrlImp& c) {
        qvncam::MutexLock lock(c.mJsonLock);
        c.mJsonCmdSet = JsonCmdSet();
    }
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
