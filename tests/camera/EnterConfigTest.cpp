// Opening and configuring a camera with the complete customisation library: where the
// custom enter-camera lock comes from and the configure-stream paths.

#include <cstdio>
#include <fstream>

#include "CamTestSupport.h"

namespace camtest {
namespace {

using EnterConfigTest = CamTest;

TEST_F(EnterConfigTest, RefusedLocksAreOnlyWarnedAbout) {
    auto* dbl = customdbl::api();
    dbl->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_DRAM_OPP_MIN", -1);  // listed, not counted
    dbl->setOutCmd(CUSTOMDBL_ENTER, "C2PS_SCENARIO", 3);           // counted, not listed
    dbl->setOutCmd(CUSTOMDBL_ENTER, "CAM_CPU_AFFY_SCENE", 0);
    // A declined configuration still sets up C2PS and the scene from what was written.
    dbl->setResult(CUSTOMDBL_CONFIG, false);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", 4);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "C2PS_FEATURE_CUSTOMIZATION", 1);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "PERF_RES_GPU_FW_IDLE", 1);
    dbl->setOutCmd(CUSTOMDBL_RUNTIME, "PERF_RES_NOPE", 0);  // counted, not listed
    recpower::setMode(RECPOWER_REFUSE_ALL);
    LogCapture capture;
    auto holder = ctrl->enterPerfCtrl_EnterCamera(200);
    auto configured = ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
    EXPECT_NE(ctrl->enterPerfCtrl_InflightRequest(1, nullptr, PerfCtrlSet()), nullptr);
    const std::string log = capture.take();
    EXPECT_EQ(countLog(log, 'W', "Failed to create PerfOperato during camera entering"), 1);
    EXPECT_EQ(countLog(log, 'W', "Failed to create boost during camera entering"), 1);
    EXPECT_EQ(countLog(log, 'W', "Failed to create PerfOperator during enterCam, outSize=4"), 1);
    EXPECT_EQ(countLog(log, 'E', "Failed to create PerfOperator during , size=0"), 1);
    EXPECT_EQ(
        countLog(log, 'W', "Failed to create PerfOperator during inflight request, outSize=2"), 1);
    EXPECT_EQ(Peer::scene(*ctrl), 4);
}

TEST_F(EnterConfigTest, JsonSectionsWinOverTheFunctionsAndOutliveTheSwitch) {
    auto* dbl = customdbl::api();
    dbl->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_GPU_FW_IDLE", 5);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", 2);
    auto configured = ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
    EXPECT_EQ(Peer::scene(*ctrl), 2);
    const std::string path = testing::TempDir() + "perf-" + std::to_string(getpid()) + ".json";
    std::ofstream(path) << R"({"enter_cam": {"PERF_RES_CPUFREQ_MIN_CLUSTER_1": 900000},
                               "config_cam": {"PERF_RES_DRAM_OPP_MIN": 2}})";
    setProperty("vendor.debug.qvncam.perfjson", path);
    issued();
    const List once = {kCluster1, 900000}, twice = {kCluster1, 900000, kCluster1, 900000};
    // Each processed document appends again; switching JSON off keeps the record.
    for (const auto& [json, list] :
         {std::make_pair("1", once), std::make_pair("1", twice), std::make_pair("0", twice)}) {
        setProperty("vendor.cam3perfctrl.enablejson", json);
        auto holder = ctrl->enterPerfCtrl_EnterCamera(0);
        EXPECT_EQ(issued().at(2), std::make_tuple(0, list, 0));
    }
    EXPECT_EQ(dbl->callCount(CUSTOMDBL_ENTER), 0);
    configured = ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
    EXPECT_EQ(issued(), Issued({{0, {kDramOpp, 2, kDramOpp, 2}, 0}}));
    EXPECT_EQ(dbl->callCount(CUSTOMDBL_CONFIG), 1);
    EXPECT_EQ(Peer::scene(*ctrl), 0);
    std::remove(path.c_str());
}

}  // namespace
}  // namespace camtest
