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
class QVNCAM_EXPORT Cam3PerfCtrl {
  public:
    virtual ~Cam3PerfCtrl();

    virtual std::unique_ptr<PerfOperator> runDefaultBoost(unsigned int timeoutMs) = 0;
    virtual std::unique_ptr<PerfOperator> runPerfBoost(EPERF_BOOST_OPERATION operation,
                                                       unsigned int timeoutMs) = 0;
    // One at a time per process, and not beside configure-stream.
    virtual std::shared_ptr<PerfOperatorHolder> enterPerfCtrl_EnterCamera(int timeoutMs) = 0;
    virtual std::shared_ptr<PerfOperatorHolder> enterPerfCtrl_ConfigureStream(
        const qcam::StreamConfiguration& config) = 0;
    // Any thread, but one at a time for the same `set`.
    virtual std::shared_ptr<InflightOperatorHolderImp> enterPerfCtrl_InflightRequest(
        const int& requestNo, const NSCam::IMetadata* meta, PerfCtrlSet set) = 0;
    virtual bool setAffinity() = 0;
    virtual int queryAffinity(const char* name) = 0;
    virtual std::unique_ptr<PerfOperator> enablePerTaskEASControl(int tid,
                                                                  unsigned short flags) = 0;

    // The one controller of the process, built on first use; never delete it. Any thread;
    // a customisation library must not call it from its static constructors.
    static Cam3PerfCtrl* getInstance();
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
