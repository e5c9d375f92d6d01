// SPDX-License-Identifier: Apache-2.0
#pragma once

// The controller behind Cam3PerfCtrl::getInstance(). Callers reach it by
// static_cast<Cam3PerfCtrlImp*>(Cam3PerfCtrl::getInstance()), for checkCPUMask and the
// zoom boost list; the operations are those of Cam3PerfCtrl.

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Cam3PerfCtrl.h"
#include "JsonCmdSet.h"
#include "PerfCtrlCustom.h"
#include "QvncamExport.h"
#include "QvncamThreadAnnotations.h"

class QvncamJSONConvertor;
class QvncamJSONData;

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

struct ControllerDumpState;

class QVNCAM_EXPORT Cam3PerfCtrlImp : public Cam3PerfCtrl {
  public:
    // Use getInstance(); a second controller is for tests only.
    Cam3PerfCtrlImp();
    ~Cam3PerfCtrlImp() override;
    Cam3PerfCtrlImp(const Cam3PerfCtrlImp&) = delete;
    Cam3PerfCtrlImp& operator=(const Cam3PerfCtrlImp&) = delete;

    std::unique_ptr<PerfOperator> runDefaultBoost(unsigned int timeoutMs) override;
    std::unique_ptr<PerfOperator> runPerfBoost(EPERF_BOOST_OPERATION operation,
                                               unsigned int timeoutMs) override;
    std::shared_ptr<PerfOperatorHolder> enterPerfCtrl_EnterCamera(int timeoutMs) override;
    std::shared_ptr<PerfOperatorHolder> enterPerfCtrl_ConfigureStream(
        const qcam::StreamConfiguration& config) override;
    std::shared_ptr<InflightOperatorHolderImp> enterPerfCtrl_InflightRequest(
        const int& reqId, const NSCam::IMetadata* metadata, PerfCtrlSet set) override;
    bool setAffinity() override;
    int queryAffinity(const char* threadName) override;
    std::unique_ptr<PerfOperator> enablePerTaskEASControl(int tid, unsigned short flags) override;

    // True exactly for the legal CPU masks 1..255. Reads no state: any thread, any time.
    bool checkCPUMask(int mask);
    // Appends the multi-camera zoom boost list built from the zoom properties.
    void getMultiCamZoomBoostTable(std::vector<int>& out);
    // What qvncam_perfctrl_dump() shows of the controller; internal to the library.
    QVNCAM_HIDDEN void copyDumpState(ControllerDumpState& out);

  private:
    friend class Cam3PerfCtrlImpTestPeer;

    // The private steps stay inside the library.
    QVNCAM_HIDDEN std::shared_ptr<PerfOperator> __enterCamCustom();
    QVNCAM_HIDDEN bool __prepareJsonCmds(const QvncamJSONData& doc, JsonCmdSet& out);
    QVNCAM_HIDDEN void __processOutCmds(const CustomOutCmds& outCmds, std::vector<int>& cmds);
    QVNCAM_HIDDEN void __initC2PSPerfCtrl(const qcam::StreamConfiguration& config,
                                          const CustomOutCmds& outCmds);
    QVNCAM_HIDDEN void __initCPUAffy(const qcam::StreamConfiguration& config,
                                     const CustomOutCmds& outCmds);

    CustomEnterCameraFn mfnEnterCamCPUCtrl = nullptr;
    CustomConfigTimeFn mfnConfigTimeCPUCtrl = nullptr;
    CustomRuntimeFn mfnRuntimeCPUCtrl = nullptr;
    QueryAppropriateCPUFn mfnQueryAppropriateCPU = nullptr;
    // Rewritten by enter-camera while boosts read it on other threads.
    std::atomic<int32_t> miLogLevel{-1};
    std::unique_ptr<QvncamJSONConvertor> mpJsonConvertor;
    // Two cameras may be opened at once, and a dump may read the record from another
    // thread: the JSON switch and record are read and written under this lock.
    qvncam::Mutex mJsonLock;
    bool mbEnableJson QVNCAM_GUARDED_BY(mJsonLock) = false;
    JsonCmdSet mJsonCmdSet QVNCAM_GUARDED_BY(mJsonLock);
    // Written at configure-stream time, read by thread placement on other threads.
    std::atomic<int32_t> miCPUAffyScene{0};
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
