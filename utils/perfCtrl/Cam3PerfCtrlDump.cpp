// SPDX-License-Identifier: Apache-2.0
#include "Cam3PerfCtrlImp.h"
#include "NeverDestroyed.h"
#include "PerfCtrlDump.h"
#include "QvncamThreadAnnotations.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

// The mutex guards the pointer, and the controller's life while a dump copies from it: the
// destructor waits for a copy in progress.
struct DumpAnchor {
    qvncam::Mutex mutex;
    Cam3PerfCtrlImp* ctrl QVNCAM_GUARDED_BY(mutex) = nullptr;
    bool destroyed QVNCAM_GUARDED_BY(mutex) = false;
};
NeverDestroyed<DumpAnchor> gAnchor;

}  // namespace

void publishControllerForDump(Cam3PerfCtrlImp* ctrl) {
    qvncam::MutexLock lock(gAnchor.value.mutex);
    gAnchor.value.destroyed = gAnchor.value.ctrl != nullptr && ctrl == nullptr;
    gAnchor.value.ctrl = ctrl;
}

ControllerDumpState copyControllerDumpState() {
    ControllerDumpState out;
    qvncam::MutexLock lock(gAnchor.value.mutex);
    if (gAnchor.value.ctrl != nullptr) {
        gAnchor.value.ctrl->copyDumpState(out);
    } else if (gAnchor.value.destroyed) {
        out.presence = ControllerPresence::Destroyed;
    }
    return out;
}

void Cam3PerfCtrlImp::copyDumpState(ControllerDumpState& out) {
    out.presence = ControllerPresence::Created;
    out.enterCamEntry = mfnEnterCamCPUCtrl != nullptr;
    out.configTimeEntry = mfnConfigTimeCPUCtrl != nullptr;
    out.runtimeEntry = mfnRuntimeCPUCtrl != nullptr;
    out.queryCpuEntry = mfnQueryAppropriateCPU != nullptr;
    out.affinityScene = miCPUAffyScene.load(std::memory_order_relaxed);
    out.logLevel = miLogLevel.load(std::memory_order_relaxed);
    qvncam::MutexLock lock(mJsonLock);
    out.jsonOn = mbEnableJson;
    out.enterCamExist = mJsonCmdSet.enterCamExist;
    out.enterCamInts = mJsonCmdSet.enterCamCmds.size();
    out.configCamExist = mJsonCmdSet.configCamExist;
    out.configCamInts = mJsonCmdSet.configCamCmds.size();
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
