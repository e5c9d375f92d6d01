// Camera operations on a device without a customisation library: boosts, per-task EAS,
// the platform enter-camera list, the JSON command sets, and the operations that need a
// customisation function.

#include "CamTestSupport.h"

namespace camtest {
namespace {

using NoCustomTest = CamTest;
const std::vector<int> kLevel2 = {kCluster0, 1000000, kCluster1, 1500000};

TEST_F(NoCustomTest, BoostLevelsGrantTheirTableLists) {
    ASSERT_FALSE(customdbl::available());
    const std::vector<int> level1 = {kCluster0, 2000000,   kCluster1, 500000,    kCluster2,
                                     1800000,   0x1404300, 1,         0x1404100, 1};
    const std::vector<int> level3 = {kCluster0, 1400000, kCluster1, 1000000, kCluster2, 1000000};
    // clang-format off
    struct { int level, logLevel; const std::vector<int>* list; } rows[] = {
        {0, 0, &defaultBoostList()}, {1, 0, &level1}, {2, 0, &kLevel2}, {3, 0, &level3},
        {2, 1, &kLevel2},  // no zoom property set: the table list stays
        {4, 0, nullptr}, {-1, 1, nullptr}};
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE("level " + std::to_string(row.level));
        Peer::setLogLevel(*ctrl, row.logLevel);
        const size_t before = acquireCount();
        auto op = ctrl->runPerfBoost(static_cast<EPERF_BOOST_OPERATION>(row.level), 500);
        const auto got = acquiresFrom(before);
        ASSERT_EQ(op != nullptr, row.list != nullptr);
        ASSERT_EQ(got.size(), row.list ? 1u : 0u);
        if (row.list) {
            EXPECT_EQ(got[0].list, *row.list);
            EXPECT_EQ(got[0].duration, 500);
        }
    }
    EXPECT_EQ(PerfCtrlHelper::BoostComdTable.size(), 4u);
    auto op = ctrl->runDefaultBoost(250);  // log switch still on
    EXPECT_EQ(recpower::acquires().back().list, defaultBoostList());
    EXPECT_EQ(recpower::acquires().back().duration, 250);
}

TEST_F(NoCustomTest, ZoomListReplacesLevelTwoOnlyWithLogSwitchOn) {
    // clang-format off
    struct { int dram, cpu0, cpu1, cpu2; std::vector<int> zoom; } rows[] = {
        {-255, -1, 1200000, -1, {kCluster1, 1200000}},
        {0, 900000, -1, -1, {kCluster0, 900000}},  // operating point 0 is never requested
        {3, 1, 2, 0, {kCluster0, 1, kCluster1, 2, kDramOpp, 3}},
        {3, -1, -1, -1, {kDramOpp, 3}},
        {-5, -1, -1, -1, {}},  // empty: the table list is used
        {-255, 0, 0, 0, {}}};
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE("dram " + std::to_string(row.dram) + " cpu1 " + std::to_string(row.cpu1));
        g_multicam_zoom_dram_opp = row.dram;
        g_multicam_zoom_cpu0_freq = row.cpu0;
        g_multicam_zoom_cpu1_freq = row.cpu1;
        g_multicam_zoom_cpu2_freq = row.cpu2;
        for (int logLevel : {0, 1}) {
            Peer::setLogLevel(*ctrl, logLevel);
            auto op = ctrl->runPerfBoost(EPERF_BOOST_MULTICAM_ZOOM, 100);
            EXPECT_EQ(recpower::acquires().back().list,
                      logLevel != 0 && !row.zoom.empty() ? row.zoom : kLevel2);
        }
    }
}

TEST_F(NoCustomTest, PerTaskEasFlagTable) {
    // clang-format off
    struct { int tid; unsigned short flags; bool made; std::vector<int> list; } rows[] = {
        {0, 0x0001, false, {}}, {-5, 0x8003, false, {}}, {1234, 0, false, {}},
        {1234, 0x0003, true, {0x01448300, 1234, 0x01450000, 1234}},
        {77, 0x8001, true, {0x01448300, 77, 0x03400000, 1}},
        {42, 0x8000, true, {0x03400000, 1}},
        {42, 0x0004, true, {}}};  // no meaningful bit: still an operator, with an empty list
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE("tid " + std::to_string(row.tid) + " flags " + std::to_string(row.flags));
        const size_t before = acquireCount();
        auto op = ctrl->enablePerTaskEASControl(row.tid, row.flags);
        const auto got = acquiresFrom(before);
        ASSERT_EQ(op != nullptr, row.made);
        ASSERT_EQ(got.size(), row.made ? 1u : 0u);
        if (row.made) {
            EXPECT_EQ(got[0].list, row.list);
            EXPECT_EQ(got[0].duration, 0);
        }
    }
}

TEST_F(NoCustomTest, PlatformEnterListFollowsPropertiesAtEachOpening) {
    using Props = std::vector<std::pair<const char*, const char*>>;
    // clang-format off
    struct { Props props; std::vector<int> list; } rows[] = {
        {{}, {0x1010100, 1, 0x2008400, 1, 0x2004000, 1, kGpuIdle, 2, 0x1468000, 0, 0x1058000, 33330001}},
        {{{"vendor.cam3dev.notify.zeltro", "0"}, {"vendor.cam3dev.dramcmd.enable", "0"}},
         {0x2004000, 1, kGpuIdle, 2, 0x1468000, 0, 0x1058000, 33330001}},
        {{{"vendor.cam3dev.idleprefer.enable", "1"}},
         {0x1010100, 1, 0x2008400, 1, 0x2004000, 1, kGpuIdle, 2, 0x1404300, 1, 0x1404100, 1,
          0x1468000, 0, 0x1058000, 33330001}},
        {{{"vendor.cam3dev.runnableboost.disable", "0"}, {"vendor.cam3dev.dvfsmmmode.enable", "0"},
          {"vendor.cam3dev.notify.zeltro", "0"}}, {0x1010100, 1, 0x2004000, 1, kGpuIdle, 2}}};
    // clang-format on
    for (const auto& row : rows) {  // one controller: each opening reads the properties anew
        SCOPED_TRACE(testing::PrintToString(row.props));
        qvncam::host::clearAllProperties();
        for (const auto& p : row.props)
            setProperty(p.first, p.second);
        const size_t before = acquireCount();
        auto holder = ctrl->enterPerfCtrl_EnterCamera(300);
        const auto got = acquiresFrom(before);
        ASSERT_EQ(got.size(), 2u);  // platform, then the default boost
        EXPECT_EQ(got[0].list, row.list);
        EXPECT_EQ(got[0].duration, 0);
        EXPECT_EQ(got[1].list, defaultBoostList());
        EXPECT_EQ(got[1].duration, 300);
    }
}

TEST_F(NoCustomTest, OpeningWithoutCustomisationKeepsPlatformOperatorInCustomSlot) {
    testing::internal::CaptureStderr();
    auto holder = ctrl->enterPerfCtrl_EnterCamera(1000);
    EXPECT_EQ(countLog(testing::internal::GetCapturedStderr(), 'W',
                       "No custom PerfCtrl function(enterCam time)."),
              1);
    const auto got = recpower::acquires();
    ASSERT_EQ(got.size(), 2u);
    EXPECT_EQ(holder->getPerfOperator()->getTimeoutInMilli(), 0);
    holder->exit();  // ends the list; the custom slot keeps the platform lock
    EXPECT_EQ(recpower::releases(), std::vector<int>({got[1].result}));
    EXPECT_EQ(recpower::live(), std::vector<int>({got[0].result}));
    holder.reset();
    EXPECT_TRUE(recpower::live().empty());

    recpower::setMode(RECPOWER_REFUSE_ALL);  // refused locks: warnings, holder all the same
    testing::internal::CaptureStderr();
    holder = ctrl->enterPerfCtrl_EnterCamera(1000);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(countLog(log, 'W', "Failed to create PerfOperato during camera entering"), 1);
    EXPECT_EQ(countLog(log, 'W', "Failed to create boost during camera entering"), 1);
    EXPECT_FALSE(holder->getPerfOperator()->isAlive());
}

TEST_F(NoCustomTest, StreamRequestAndAffinityNeedTheCustomisationFunctions) {
    qcam::StreamConfiguration config;
    config.streams.push_back({0, 0, 1920, 1080, 0, 0x10000});
    PerfCtrlSet set{nullptr, nullptr, std::make_shared<InflightOperatorHolderImp>()};
    testing::internal::CaptureStderr();
    EXPECT_EQ(ctrl->enterPerfCtrl_ConfigureStream(config), nullptr);
    EXPECT_EQ(ctrl->enterPerfCtrl_InflightRequest(1, nullptr, set), nullptr);
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_EQ(countLog(log, 'W', "No custom PerfCtrl function(config time)."), 1);
    EXPECT_EQ(countLog(log, 'W', "No custom PerfCtrl function(inflight)."), 1);
    EXPECT_TRUE(recpower::acquires().empty());
    C2PSInitParams c2ps;
    EXPECT_FALSE(qvncam::host::lastC2PSInit(&c2ps));
    EXPECT_FALSE(ctrl->setAffinity());
    EXPECT_EQ(ctrl->queryAffinity("camera"), 0);
}

TEST_F(NoCustomTest, JsonSectionsResultTable) {
    // clang-format off
    struct { const char* doc; bool result, enterExist; std::vector<int> enter;
             bool configExist; std::vector<int> config; const char* warning; } rows[] = {
        {R"({"other": {"PERF_RES_GPU_FW_IDLE": 1}})", true, false, {}, false, {}, nullptr},
        {R"({"enter_cam": {}})", true, true, {}, false, {}, nullptr},
        {R"({"enter_cam": 5, "config_cam": {"PERF_RES_GPU_FW_IDLE": 2}})", false, true, {}, true,
         {kGpuIdle, 2}, "EnterCam: json format failed!"},
        {R"({"config_cam": [1, 2]})", false, false, {}, true, {}, "ConfigCam: json format failed!"},
        {R"({"enter_cam": {"PERF_RES_GPU_FW_IDLE": 2, "PERF_RES_BOGUS": 1}})", true, true,
         {kGpuIdle, 2}, false, {}, "EnterCam: fail to find key=PERF_RES_BOGUS"},
        {R"({"config_cam": {"PERF_RES_DRAM_OPP_MIN": -3}})", true, false, {}, true, {kDramOpp, -3},
         nullptr}};
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE(row.doc);
        QvncamJSONData doc;
        ASSERT_TRUE(doc.parse(row.doc));
        JsonCmdSet set;
        testing::internal::CaptureStderr();
        EXPECT_EQ(Peer::prepareJson(*ctrl, doc, set), row.result);
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_EQ(set.enterCamExist, row.enterExist);
        EXPECT_EQ(set.enterCamCmds, row.enter);
        EXPECT_EQ(set.configCamExist, row.configExist);
        EXPECT_EQ(set.configCamCmds, row.config);
        EXPECT_EQ(countLog(log, 'W', row.warning ? row.warning : "-"), row.warning ? 1 : 0);
    }
}

TEST_F(NoCustomTest, HostileJsonNeverStopsTheOpening) {
    const std::string path = testing::TempDir() + "hostile-" + std::to_string(getpid()) + ".json";
    // clang-format off
    struct { const char* name; const char* text; bool enabled; } rows[] = {
        {"missing", nullptr, false},
        {"malformed", R"({"enter_cam": {"PERF_RES_GPU_FW_IDLE": )", false},
        {"empty", "", false},
        {"array", R"([{"enter_cam": {}}])", true},
        {"string section", R"({"enter_cam": "PERF_RES_GPU_FW_IDLE"})", false},
        {"nested value", R"({"config_cam": {"PERF_RES_GPU_FW_IDLE": {"a": [1, {}]}}})", true},
        {"non-integers", R"({"enter_cam": {"PERF_RES_GPU_FW_IDLE": "x", "PERF_RES_DRAM_OPP_MIN": 1.5,
          "PERF_RES_CPUFREQ_MIN_CLUSTER_0": 99999999999, "PERF_RES_CPUFREQ_MIN_CLUSTER_1": null}})",
         true}};
    // clang-format on
    setProperty("vendor.cam3perfctrl.enablejson", "1");
    setProperty("vendor.debug.qvncam.perfjson", path);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        std::remove(path.c_str());
        if (row.text)
            std::ofstream(path) << row.text;
        const size_t before = acquireCount();
        testing::internal::CaptureStderr();
        auto holder = ctrl->enterPerfCtrl_EnterCamera(100);
        testing::internal::GetCapturedStderr();
        EXPECT_NE(holder->getPerfOperator(), nullptr);
        EXPECT_EQ(Peer::jsonEnabled(*ctrl), row.enabled);
        const auto got = acquiresFrom(before);
        ASSERT_EQ(got.size(), 2u);
        EXPECT_EQ(got[0].list.size(), 12u);  // the six platform pairs
    }
    std::remove(path.c_str());
}

}  // namespace
}  // namespace camtest
