// Opening and configuring a camera with the complete customisation library: where the
// custom enter-camera lock comes from, the configure-stream paths, and C2PS set-up.

#include <cstring>

#include "CamTestSupport.h"

namespace camtest {
namespace {

using EnterConfigTest = CamTest;

TEST_F(EnterConfigTest, CustomisationFunctionSuppliesTheEnterLock) {
    ASSERT_TRUE(customdbl::available());
    auto* dbl = customdbl::api();
    dbl->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_CPUFREQ_MIN_CLUSTER_0", 1200000);
    dbl->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_DRAM_OPP_MIN", -1);  // listed, not counted
    dbl->setOutCmd(CUSTOMDBL_ENTER, "C2PS_SCENARIO", 3);           // counted, not listed
    dbl->setTimeout(CUSTOMDBL_ENTER, 500);
    TraceCapture trace;

    auto holder = ctrl->enterPerfCtrl_EnterCamera(200);
    const auto got = recpower::acquires();
    ASSERT_EQ(got.size(), 3u);
    EXPECT_EQ(sortedPairs(got[2].list), Pairs({{kCluster0, 1200000}, {kDramOpp, -1}}));
    EXPECT_EQ(got[2].duration, 500);
    EXPECT_EQ(holder->getPerfOperator()->getTimeoutInMilli(), 500);
    EXPECT_EQ(dbl->callCount(CUSTOMDBL_ENTER), 1);
    EXPECT_TRUE(customdbl::lastParams(CUSTOMDBL_ENTER).empty());
    EXPECT_EQ(trace.begun(),
              std::vector<std::string>({"Cam3PerfCtrl:enterCamera",
                                        "Cam3PerfCtrl:runPerfBoost-" + std::to_string(gettid()),
                                        "Cam3PerfCtrl:enterCam"}));
    holder->exit();  // listed operators go last first; the custom one stays in its slot
    EXPECT_EQ(recpower::releases(), std::vector<int>({got[1].result, got[0].result}));
    EXPECT_EQ(recpower::live(), std::vector<int>({got[2].result}));

    recpower::setMode(RECPOWER_REFUSE_ALL);  // the warning shows the counted size
    testing::internal::CaptureStderr();
    holder = ctrl->enterPerfCtrl_EnterCamera(200);
    EXPECT_EQ(countLog(testing::internal::GetCapturedStderr(), 'W',
                       "Failed to create PerfOperator during enterCam, outSize=4"),
              1);
    holder.reset();
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
}

TEST_F(EnterConfigTest, JsonSectionsWinOverTheFunctionsAndOutliveTheSwitch) {
    auto* dbl = customdbl::api();
    const std::string path = testing::TempDir() + "perf-" + std::to_string(getpid()) + ".json";
    std::ofstream(path) << R"({"enter_cam": {"PERF_RES_CPUFREQ_MIN_CLUSTER_1": 900000,
        "PERF_RES_GPU_FW_IDLE": 1}, "config_cam": {"PERF_RES_DRAM_OPP_MIN": 2}})";
    dbl->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_GPU_FW_IDLE", 5);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", 2);
    const qcam::StreamConfiguration config;
    auto configured = ctrl->enterPerfCtrl_ConfigureStream(config);  // no JSON yet
    EXPECT_EQ(Peer::scene(*ctrl), 2);

    TraceCapture trace;
    setProperty("vendor.debug.qvncam.perfjson", path);
    std::vector<std::vector<int>> customLists;
    for (const char* json : {"1", "1", "0"}) {  // the record survives switching JSON off
        setProperty("vendor.cam3perfctrl.enablejson", json);
        const size_t before = acquireCount();
        auto holder = ctrl->enterPerfCtrl_EnterCamera(0);
        const auto got = acquiresFrom(before);
        ASSERT_EQ(got.size(), 3u);
        EXPECT_EQ(got[2].duration, 0);
        customLists.push_back(got[2].list);
    }
    EXPECT_EQ(dbl->callCount(CUSTOMDBL_ENTER), 0);
    std::vector<int> twice = customLists[0];
    twice.insert(twice.end(), customLists[0].begin(), customLists[0].end());
    EXPECT_EQ(sortedPairs(customLists[0]), Pairs({{kCluster1, 900000}, {kGpuIdle, 1}}));
    EXPECT_EQ(customLists[1], twice);  // each processed document appends again
    EXPECT_EQ(customLists[2], twice);

    configured = ctrl->enterPerfCtrl_ConfigureStream(config);
    const auto got = recpower::acquires().back();
    EXPECT_EQ(got.list, std::vector<int>({kDramOpp, 2, kDramOpp, 2}));
    EXPECT_EQ(got.duration, 0);
    EXPECT_EQ(dbl->callCount(CUSTOMDBL_CONFIG), 1);
    EXPECT_EQ(Peer::scene(*ctrl), 0);
    const auto names = trace.begun();
    ASSERT_EQ(names.size(), 10u);
    EXPECT_EQ(names[8], "Cam3PerfCtrl:enterCam-json");
    EXPECT_EQ(names[9], "Cam3PerfCtrl:configureStream-from-json");
    std::remove(path.c_str());
}

TEST_F(EnterConfigTest, ConfigureStreamFromTheFunction) {
    auto* dbl = customdbl::api();
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "PERF_RES_CPUFREQ_MIN_CLUSTER_0", 1500000);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", 2);
    dbl->setTimeout(CUSTOMDBL_CONFIG, 700);
    const qcam::StreamConfiguration config;
    TraceCapture trace;
    auto holder = ctrl->enterPerfCtrl_ConfigureStream(config);
    auto got = recpower::acquires();
    ASSERT_EQ(got.size(), 1u);
    EXPECT_EQ(got[0].list, std::vector<int>({kCluster0, 1500000}));
    EXPECT_EQ(got[0].duration, 700);
    EXPECT_EQ(holder->getPerfOperator()->getTimeoutInMilli(), 700);
    EXPECT_EQ(customdbl::lastParams(CUSTOMDBL_CONFIG), CustomParams({{"IS_CONFIG_TIME_KEY", "1"}}));
    EXPECT_EQ(dbl->lastConfig(), &config);
    EXPECT_EQ(Peer::scene(*ctrl), 2);
    holder->exit();  // list and custom slot share the operator: the lock stays
    EXPECT_EQ(recpower::live(), std::vector<int>({got[0].result}));

    // Declined: empty list and user, yet C2PS and the scene come from what was written.
    dbl->setResult(CUSTOMDBL_CONFIG, false);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", 4);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "C2PS_FEATURE_CUSTOMIZATION", 1);
    recpower::setMode(RECPOWER_REFUSE_ALL);
    testing::internal::CaptureStderr();
    holder = ctrl->enterPerfCtrl_ConfigureStream(config);
    EXPECT_EQ(countLog(testing::internal::GetCapturedStderr(), 'E',
                       "Failed to create PerfOperator during , size=0"),
              1);
    EXPECT_TRUE(recpower::acquires().back().list.empty());
    EXPECT_EQ(Peer::scene(*ctrl), 4);
    C2PSInitParams c2ps;
    EXPECT_TRUE(qvncam::host::lastC2PSInit(&c2ps));
    EXPECT_EQ(trace.begun(),
              std::vector<std::string>({"Cam3PerfCtrl:configureStream", "Cam3PerfCtrl:"}));
    EXPECT_EQ(recpower::releasesOf(got[0].result), 1);
}

TEST_F(EnterConfigTest, C2psScenarioTable) {
    constexpr uint64_t ENC = 0x10000, TEX = 0x100, OVL = 0x800;
    using Keys = std::vector<std::pair<const char*, int>>;
    const Keys fc1 = {{"C2PS_FEATURE_CUSTOMIZATION", 1}}, fc3 = {{"C2PS_FEATURE_CUSTOMIZATION", 3}};
    const char* kFps = "C2PS overwrites fps to 30 due to invalid config fps";
    const char* kNone = "no suitable scenario for C2PS, pick FHD30 as default";
    struct S {
        int32_t type;
        uint32_t width;
        uint64_t usage;
    };
    // clang-format off
    struct { std::vector<S> streams; int fpsMin, fpsMax; Keys keys; int fps, scenario;
             const char* warning; bool disable, pf; int lmcore, umMin; } rows[] = {
        // fpsMin -1: no frame-rate entry; scenario -1: C2PS not set up
        {{{0, 1920, ENC}}, 30, 30, fc1, 30, 2, nullptr, false, false, 0, 0},
        {{{0, 1921, ENC}}, 30, 30, fc1, 30, 4, nullptr, false, false, 0, 0},
        {{{0, 7679, ENC}}, 30, 30, fc1, 30, 4, nullptr, false, false, 0, 0},
        {{{0, 7680, ENC}}, 30, 30, fc1, 30, 6, nullptr, false, false, 0, 0},
        {{{0, 1920, ENC}}, 30, 60, fc1, 60, 3, nullptr, false, false, 0, 0},
        {{{0, 3840, ENC}}, 15, 60, fc1, 60, 5, nullptr, false, false, 0, 0},
        {{{0, 1920, ENC}}, 30, 120, fc1, 120, 2, kNone, false, false, 0, 0},
        {{{0, 1920, ENC}}, 15, 30, fc3, 15, 2, nullptr, false, false, 0, 0},
        {{{0, 1920, ENC}}, 0, 30, fc3, 30, 2, kFps, false, false, 0, 0},
        {{{0, 1920, ENC}}, -1, -1, fc1, 30, 2, kFps, false, false, 0, 0},
        {{{0, 1920, ENC}}, 30, 0, fc1, 30, 2, kFps, false, false, 0, 0},
        {{{0, 3840, TEX}}, 30, 30, fc1, 30, 0, nullptr, false, false, 0, 0},
        {{{0, 3840, TEX}, {0, 1280, ENC}}, 30, 30, fc1, 30, 4, nullptr, false, false, 0, 0},
        {{{1, 3840, ENC}, {0, 1280, TEX}}, 30, 30, fc1, 30, 0, nullptr, false, false, 0, 0},
        {{{0, 8000, 0x3}, {0, 1920, ENC}}, 30, 30, fc1, 30, 2, nullptr, false, false, 0, 0},
        {{{0, 4000, OVL}, {0, 1920, ENC | TEX}}, 24, 60, fc1, 60, 5, nullptr, false, false, 0, 0},
        {{}, 30, 30, fc1, 30, 0, nullptr, false, false, 0, 0},
        {{{0, 1920, TEX}}, 30, 30, {{"C2PS_FEATURE_CUSTOMIZATION", 2}, {"C2PS_SCENARIO", 7}}, 30, 7,
         nullptr, false, false, 0, 0},
        {{{0, 3840, ENC}}, 30, 30, {{"C2PS_FEATURE_CUSTOMIZATION", 2}, {"C2PS_SCENARIO", 9}}, 30, 4,
         nullptr, false, false, 0, 0},
        {{{0, 1920, ENC}}, 30, 30, {{"C2PS_FEATURE_CUSTOMIZATION", 0}, {"C2PS_PF_POLICY_COMMAND", -1},
         {"C2PS_DISABLE_INEFF_CPUFREQ_COMMAND", -1}}, 30, 2, nullptr, true, false, 0, 0},
        {{{0, 1920, ENC}}, 30, 30, {{"C2PS_FEATURE_CUSTOMIZATION", 1}, {"C2PS_PF_POLICY_COMMAND", 2},
         {"C2PS_DISABLE_INEFF_CPUFREQ_COMMAND", 0}, {"C2PS_LMCORE_UM_RATIO_COMMAND", 5},
         {"C2PS_UM_MIN_COMMAND", -6}}, 30, 2, nullptr, false, true, 5, -6},
        {{{0, 1920, ENC}}, 30, 30, {{"C2PS_SCENARIO", 3}}, 0, -1, nullptr, false, false, 0, 0}};
    // clang-format on
    auto* dbl = customdbl::api();
    for (const auto& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows));
        qcam::StreamConfiguration config;
        for (const S& s : row.streams)
            config.streams.push_back({0, s.type, s.width, 1, 0, s.usage});
        if (row.fpsMin >= 0) {
            NSCam::IMetadata::IEntry range(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE);
            range.push_back(row.fpsMin, NSCam::Type2Type<int>());
            range.push_back(row.fpsMax, NSCam::Type2Type<int>());
            config.sessionParams.update(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE, range);
        }
        dbl->clearOutCmds(CUSTOMDBL_CONFIG);
        for (const auto& key : row.keys)
            dbl->setOutCmd(CUSTOMDBL_CONFIG, key.first, key.second);
        qvncam::host::resetC2PSInit();
        testing::internal::CaptureStderr();
        ASSERT_NE(ctrl->enterPerfCtrl_ConfigureStream(config), nullptr);
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_EQ(countLog(log, 'W', kFps), row.warning == kFps);
        EXPECT_EQ(countLog(log, 'W', kNone), row.warning == kNone);
        C2PSInitParams got, want;
        std::memset(&want, 0, sizeof(want));  // padding must arrive zeroed too
        ASSERT_EQ(qvncam::host::lastC2PSInit(&got), row.scenario >= 0);
        if (row.scenario < 0)
            continue;
        want.fps = row.fps;
        want.scenario = row.scenario;
        want.featureCustomization = row.keys[0].second;
        want.disableIneffCpufreq = row.disable;
        want.lmcoreUmRatio = row.lmcore;
        want.umMin = row.umMin;
        want.pfPolicy = row.pf;
        EXPECT_EQ(std::memcmp(&got, &want, sizeof(got)), 0)
            << "fps " << got.fps << " scenario " << got.scenario << " fc "
            << got.featureCustomization << " disable " << got.disableIneffCpufreq << " lmcore "
            << got.lmcoreUmRatio << " umMin " << got.umMin << " pf " << got.pfPolicy;
    }
}

}  // namespace
}  // namespace camtest
