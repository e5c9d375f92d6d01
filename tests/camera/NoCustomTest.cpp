// SPDX-License-Identifier: Apache-2.0
// Camera operations on a device without a customisation library: boosts, per-task EAS,
// the platform enter-camera list and the JSON command sets.

#include "CamTestSupport.h"

namespace camtest {
namespace {

using NoCustomTest = CamTest;

TEST_F(NoCustomTest, BoostLevelsAndTheZoomList) {
    ASSERT_FALSE(customdbl::available());
    const List level2 = {kCluster0, 1000000, kCluster1, 1500000};
    // clang-format off
    struct { int level, logLevel, dram, cpu0, cpu1, cpu2; List list; } rows[] = {
        {0, 1, 3, 1, 1, 1, kDefaultBoost},
        {1, 0, -255, -1, -1, -1, {kCluster0, 2000000, kCluster1, 500000, kCluster2, 1800000,
                                  0x1404300, 1, 0x1404100, 1}},
        {3, 0, -255, -1, -1, -1, {kCluster0, 1400000, kCluster1, 1000000, kCluster2, 1000000}},
        {2, 0, 3, 1, 2, 0, level2},  // the zoom list counts only while the log switch is on
        {2, 1, 3, 1, 2, 0, {kCluster0, 1, kCluster1, 2, kDramOpp, 3}},
        {2, 1, -255, -1, 1200000, -1, {kCluster1, 1200000}},
        {2, 1, 0, 900000, -1, -1, {kCluster0, 900000}},  // operating point 0 is never requested
        {2, 1, -5, 0, 0, 0, level2},                      // empty zoom list: the table's
        {4, 0, -255, -1, -1, -1, {}}, {-1, 1, -255, -1, -1, -1, {}}};
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows));
        std::tie(g_multicam_zoom_dram_opp, g_multicam_zoom_cpu0_freq, g_multicam_zoom_cpu1_freq,
                 g_multicam_zoom_cpu2_freq) = std::tie(row.dram, row.cpu0, row.cpu1, row.cpu2);
        Peer::setLogLevel(*ctrl, row.logLevel);
        auto op = ctrl->runPerfBoost(static_cast<EPERF_BOOST_OPERATION>(row.level), 500);  // held
        EXPECT_EQ(issued(), row.list.empty() ? Issued() : Issued({{0, row.list, 500}}));
    }
    auto op = ctrl->runDefaultBoost(250);  // zoom set, log switch on: no matter
    EXPECT_EQ(issued(), Issued({{0, kDefaultBoost, 250}}));
}

TEST_F(NoCustomTest, PerTaskEasFlagTable) {
    // clang-format off
    struct { int tid; unsigned short flags; Issued issued; } rows[] = {
        {0, 0x0001, {}}, {-5, 0x8003, {}}, {1234, 0, {}},
        {1234, 0x0003, {{0, {0x01448300, 1234, 0x01450000, 1234}, 0}}},
        {77, 0x8001, {{0, {0x01448300, 77, 0x03400000, 1}, 0}}},
        {42, 0x0004, {{0, {}, 0}}}};  // no meaningful bit: still an operator, with an empty list
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE("tid " + std::to_string(row.tid) + " flags " + std::to_string(row.flags));
        auto op = ctrl->enablePerTaskEASControl(row.tid, row.flags);  // held
        EXPECT_EQ(issued(), row.issued);
    }
}

TEST_F(NoCustomTest, OpeningGrantsThePlatformListAndTheBoostOnly) {
    using Props = std::vector<std::pair<const char*, const char*>>;
    // clang-format off
    struct { Props props; List list; } rows[] = {
        {{}, kPlatform},
        {{{PerfCtrlProperties::kNotifyZeltro.name, "0"}, {PerfCtrlProperties::kDramCmdEnable.name, "0"}},
         {0x2004000, 1, kGpuIdle, 2, 0x1468000, 0, 0x1058000, 33330001}},
        {{{PerfCtrlProperties::kIdlePreferEnable.name, "1"}},
         {0x1010100, 1, 0x2008400, 1, 0x2004000, 1, kGpuIdle, 2, 0x1404300, 1, 0x1404100, 1,
          0x1468000, 0, 0x1058000, 33330001}},
        {{{PerfCtrlProperties::kRunnableBoostDisable.name, "0"}, {PerfCtrlProperties::kDvfsMmModeEnable.name, "0"},
          {PerfCtrlProperties::kNotifyZeltro.name, "0"}}, {0x1010100, 1, 0x2004000, 1, kGpuIdle, 2}}};
    // clang-format on
    LogCapture capture;
    for (const auto& row : rows) {  // one controller: each opening reads the properties anew
        SCOPED_TRACE(testing::PrintToString(row.props));
        qvncam::platform::clearPropertyOverrides();
        for (const auto& p : row.props)
            setProperty(p.first, p.second);
        auto holder = ctrl->enterPerfCtrl_EnterCamera(300);
        EXPECT_EQ(issued(), Issued({{0, row.list, 0}, {0, kDefaultBoost, 300}}));
        holder->exit();  // the custom slot keeps the platform lock
        EXPECT_EQ(recpower::live(), List{recpower::acquires().end()[-2].result});
    }
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration()), nullptr);
    PerfCtrlSet set{nullptr, nullptr, std::make_shared<InflightOperatorHolderImp>()};
    EXPECT_EQ(ctrl->enterPerfCtrl_InflightRequest(1, nullptr, set), nullptr);
    const std::string log = capture.take();
    EXPECT_EQ(countLog(log, 'W', "No custom PerfCtrl function(enterCam time)."), 4);
    EXPECT_EQ(countLog(log, 'W', "No custom PerfCtrl function(config time)."), 1);
    EXPECT_EQ(countLog(log, 'W', "No custom PerfCtrl function(inflight)."), 1);
    EXPECT_FALSE(ctrl->setAffinity());
    EXPECT_EQ(ctrl->queryAffinity("camera"), 0);
}

TEST_F(NoCustomTest, JsonSectionsResultTable) {
    // clang-format off
    struct { const char* doc; bool result, enterExist; List enter; bool configExist; List config;
             const char* warning; } rows[] = {
        {R"({"other": {"PERF_RES_GPU_FW_IDLE": 1}})", true, false, {}, false, {}, nullptr},
        {R"({"enter_cam": {}})", true, true, {}, false, {}, nullptr},
        {R"({"enter_cam": 5, "config_cam": {"PERF_RES_GPU_FW_IDLE": 2}})", false, true, {}, true,
         {kGpuIdle, 2}, "EnterCam: json format failed!"},
        {R"({"config_cam": [1, 2]})", false, false, {}, true, {}, "ConfigCam: json format failed!"},
        {R"({"enter_cam": {"PERF_RES_GPU_FW_IDLE": 2, "PERF_RES_BOGUS": 1},
             "config_cam": {"PERF_RES_DRAM_OPP_MIN": -3}})", true, true, {kGpuIdle, 2}, true,
         {kDramOpp, -3}, "EnterCam: fail to find key=PERF_RES_BOGUS"}};
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.doc);
        QvncamJSONData doc;
        ASSERT_TRUE(doc.parse(row.doc));
        JsonCmdSet set;
        LogCapture capture;
        EXPECT_EQ(Peer::prepareJson(*ctrl, doc, set), row.result);
        const std::string log = capture.take();
        EXPECT_EQ(
            std::tie(set.enterCamExist, set.enterCamCmds, set.configCamExist, set.configCamCmds),
            std::tie(row.enterExist, row.enter, row.configExist, row.config));
        EXPECT_EQ(countLog(log, 'W', row.warning ? row.warning : "-"), row.warning ? 1 : 0);
    }
}

}  // namespace
}  // namespace camtest
