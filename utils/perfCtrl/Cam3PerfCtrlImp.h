#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "Cam3PerfCtrl.h"
#include "JsonCmdSet.h"
#include "PerfCtrlCustom.h"
#include "QvncamJSON.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

struct ControllerDumpState;

class Cam3PerfCtrlImp : public Cam3PerfCtrl {
  public:
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

    // True exactly for the legal CPU masks 1..255.
    bool checkCPUMask(int mask);
    // Appends the multi-camera zoom boost list built from the zoom properties.
    void getMultiCamZoomBoostTable(std::vector<int>& out);
    // What qvncam_perfctrl_dump() shows of the controller.
    void copyDumpState(ControllerDumpState& out);

  private:
    friend class Cam3PerfCtrlImpTestPeer;

    std::shared_ptr<PerfOperator> __enterCamCustom();
    bool __prepareJsonCmds(const QvncamJSONData& doc, JsonCmdSet& out);
    void __processOutCmds(const std::unordered_map<std::string, int>& outCmds,
                          std::vector<int>& cmds);
    void __initC2PSPerfCtrl(const qcam::StreamConfiguration& config,
                            const std::unordered_map<std::string, int>& outCmds);
    void __initCPUAffy(const qcam::StreamConfiguration& config,
                       const std::unordered_map<std::string, int>& outCmds);

    CustomEnterCameraFn mfnEnterCamCPUCtrl = nullptr;
    CustomConfigTimeFn mfnConfigTimeCPUCtrl = nullptr;
    CustomRuntimeFn mfnRuntimeCPUCtrl = nullptr;
    QueryAppropriateCPUFn mfnQueryAppropriateCPU = nullptr;
    // Rewritten by enter-camera while boosts read it on other threads.
    std::atomic<int32_t> miLogLevel{-1};
    std::unique_ptr<QvncamJSONConvertor> mpJsonConvertor;
    // Guards mbEnableJson and mJsonCmdSet against a dump reading them from another thread.
    std::mutex mJsonLock;
    bool mbEnableJson = false;
    JsonCmdSet mJsonCmdSet;
    // Written at configure-stream time, read by thread placement on other threads.
    std::atomic<int32_t> miCPUAffyScene{0};
};

// Room a customisation output map needs as a command list: two ints for every entry with a
// value of 0 or more, whether or not its name is a resource.
size_t countOutCmdInts(const std::unordered_map<std::string, int>& outCmds);

// Tuning read once at library load (multi-camera zoom boost).
extern int32_t g_multicam_zoom_dram_opp;
extern int32_t g_multicam_zoom_cpu0_freq;
extern int32_t g_multicam_zoom_cpu1_freq;
extern int32_t g_multicam_zoom_cpu2_freq;

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
