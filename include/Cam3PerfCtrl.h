// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>

#include "IMetadata.h"
#include "PerfOperator.h"
#include "PerfOperatorImp.h"
#include "QvncamExport.h"
#include "StreamConfiguration.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

// Boost levels with a command list in PerfCtrlHelper::BoostComdTable; other values have none.
enum EPERF_BOOST_OPERATION : int32_t {
    EPERF_BOOST_DEFAULT = 0,
    EPERF_BOOST_CAPTURE_PIPELINE = 1,
    EPERF_BOOST_MULTICAM_ZOOM = 2,
    EPERF_BOOST_LIGHT = 3,
};

// The long-lived perf objects of one opened camera, passed to every in-flight request.
// Requests that share a set run one at a time: they re-issue its operators in place.
struct PerfCtrlSet {
    std::shared_ptr<PerfOperatorImp> enterCamOperator;
    std::shared_ptr<PerfOperatorImp> configCamOperator;
    std::shared_ptr<InflightOperatorHolderImp> inflightHolder;
};

// Threads: boosts, per-task EAS, affinity and in-flight requests may run on any thread at
// once; enter-camera and configure-stream run one at a time per process.
//
// Operators come back whether or not the power service granted their lock: a lock that
// could not be had leaves an operator whose isAlive() is false. Durations are in
// milliseconds; 0 holds the lock until the operator is ended. The JSON sections are read at
// enter-camera while vendor.cam3perfctrl.enablejson is on, and kept for the process.
class QVNCAM_EXPORT Cam3PerfCtrl {
  public:
    virtual ~Cam3PerfCtrl();

    // Level EPERF_BOOST_DEFAULT for `timeoutMs`. Never empty.
    virtual std::unique_ptr<PerfOperator> runDefaultBoost(unsigned int timeoutMs) = 0;
    // The level's list for `timeoutMs`; empty for a value outside EPERF_BOOST_OPERATION.
    // EPERF_BOOST_MULTICAM_ZOOM takes the list of the vendor.debug.multicam.zoom.*
    // properties (read at library load) instead when vendor.cam3perfctrl.log is on and one
    // of them is 1 or more.
    virtual std::unique_ptr<PerfOperator> runPerfBoost(EPERF_BOOST_OPERATION operation,
                                                       unsigned int timeoutMs) = 0;
    // One at a time per process, and not beside configure-stream. Never empty: the holder
    // keeps the platform's camera settings (no expiry), a default boost for `timeoutMs`,
    // and, with customizeEnterCameraPerf present, a custom lock from the JSON "enter_cam"
    // section once loaded, else from that function (none if it answers false). Its
    // getPerfOperator() is the custom operator, else the platform one.
    virtual std::shared_ptr<PerfOperatorHolder> enterPerfCtrl_EnterCamera(int timeoutMs) = 0;
    // Empty when the customisation library has no customizeConfigTimeCPUCtrl. Otherwise a
    // holder of one operator, also its getPerfOperator(): the JSON "config_cam" section once
    // loaded, else that function's answer (an empty list if it answers false). Also sets up
    // C2PS and the scene that setAffinity() and queryAffinity() use.
    virtual std::shared_ptr<PerfOperatorHolder> enterPerfCtrl_ConfigureStream(
        const qcam::StreamConfiguration& config) = 0;
    // Any thread, but one at a time for the same `set`. Empty when the customisation library
    // has no customizeRuntimeCPUCtrl or it answers false. Otherwise `set.inflightHolder`
    // (a new holder if that is null), given an operator for `requestNo` when the answer has
    // an entry valued 0 or more (replacing that request's earlier one). Overwrites re-issue
    // the set's enter-camera and configure-stream operators in place; a null one is logged
    // and skipped.
    virtual std::shared_ptr<InflightOperatorHolderImp> enterPerfCtrl_InflightRequest(
        const int& requestNo, const NSCam::IMetadata* meta, PerfCtrlSet set) = 0;
    // Binds the calling thread to the CPUs queryAppropriateCPU gives for its name. True only
    // when its affinity was set; false, leaving it unchanged, when
    // vendor.cam3perfctrl.setaffinity.forceoff is set, there is no queryAppropriateCPU, the
    // thread's name cannot be read, the answer is -1 (no placement) or not a mask of 1..255,
    // or the kernel refuses.
    virtual bool setAffinity() = 0;
    // The mask queryAppropriateCPU gives for `name`, unchecked; 0 when there is no
    // queryAppropriateCPU, it answers -1, or vendor.cam3perfctrl.setaffinity.forceoff was
    // set at the first query (read once per process).
    virtual int queryAffinity(const char* name) = 0;
    // Per-task scheduler treatment of task `tid`, held until the operator is ended (no
    // expiry). Each flag bit sends one power-service resource, whose effect the service
    // defines: 0x0001 sends (0x01448300, tid), 0x0002 sends (0x01450000, tid), 0x8000 sends
    // (0x03400000, 1); other bits send nothing. Empty when `tid` < 1 or `flags` is 0; with
    // only other bits set, an operator with an empty list.
    virtual std::unique_ptr<PerfOperator> enablePerTaskEASControl(int tid,
                                                                  unsigned short flags) = 0;

    // The one controller of the process, never null, built on the first call (concurrent
    // first callers wait for it) and destroyed at process exit; never delete it. If building
    // throws, the next call tries again. Any thread; a customisation library must not call it
    // from its static constructors.
    static Cam3PerfCtrl* getInstance();
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
