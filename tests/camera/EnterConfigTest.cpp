// SPDX-License-Identifier: Apache-2.0
// Opening and configuring a camera with the complete customisation library: where the
// custom enter-camera lock comes from, the configure-stream paths, and C2PS set-up.

#include <cstdio>
#include <fstream>
#include <sstream>

#include "CamTestSupport.h"
#include "common/DebugLog.h"

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
    setProperty(qvncam::platform::kJsonConfigProperty, path);
    issued();
    const List once = {kCluster1, 900000}, twice = {kCluster1, 900000, kCluster1, 900000};
    // Each processed document appends again; switching JSON off keeps the record.
    for (const auto& [json, list] :
         {std::make_pair("1", once), std::make_pair("1", twice), std::make_pair("0", twice)}) {
        setProperty(PerfCtrlProperties::kEnableJson.name, json);
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

qcam::Stream stream(uint32_t width, uint64_t usage, int32_t type = 0) {
    return {0, type, width, 1, 0, usage};
}

TEST_F(EnterConfigTest, C2psScenarioTable) {
    constexpr uint64_t ENC = 0x10000, TEX = 0x100, OVL = 0x800;
    const char *FC = "C2PS_FEATURE_CUSTOMIZATION", *SC = "C2PS_SCENARIO",
               *PF = "C2PS_PF_POLICY_COMMAND", *DIS = "C2PS_DISABLE_INEFF_CPUFREQ_COMMAND",
               *LM = "C2PS_LMCORE_UM_RATIO_COMMAND", *UM = "C2PS_UM_MIN_COMMAND";
    using Keys = std::vector<std::pair<const char*, int>>;
    const std::string kFps = "C2PS overwrites fps to 30 due to invalid config fps",
                      kNone = "no suitable scenario for C2PS, pick FHD30 as default";
    // fpsMin -1: no frame-rate entry; warn 1: kFps, 2: kNone; fps 0: C2PS not set up
    // clang-format off
    struct { std::vector<qcam::Stream> streams; int fpsMin, fpsMax; Keys keys;
             int warn, fps, scenario, fc; bool disable = false; int lm = 0, um = 0; bool pf = false;
    } rows[] = {
        {{stream(7679, ENC)}, 30, 30, {{FC, 1}}, 0, 30, 4, 1},
        {{stream(7680, ENC)}, 30, 30, {{FC, 1}}, 0, 30, 6, 1},
        {{stream(1920, ENC)}, 30, 60, {{FC, 1}}, 0, 60, 3, 1},
        {{stream(1920, ENC)}, 30, 120, {{FC, 1}}, 2, 120, 2, 1},
        {{stream(1920, ENC)}, 15, 30, {{FC, 3}}, 0, 15, 2, 3},
        {{stream(1920, ENC)}, 0, 30, {{FC, 3}}, 1, 30, 2, 3},
        {{stream(1920, ENC)}, -1, -1, {{FC, 1}}, 1, 30, 2, 1},
        {{stream(3840, TEX)}, 30, 30, {{FC, 1}}, 0, 30, 0, 1},
        {{stream(3840, TEX), stream(1280, ENC)}, 30, 30, {{FC, 1}}, 0, 30, 4, 1},
        {{stream(3840, ENC, 1), stream(1280, TEX)}, 30, 30, {{FC, 1}}, 0, 30, 0, 1},
        {{stream(8000, 0x3), stream(1920, ENC)}, 30, 30, {{FC, 1}}, 0, 30, 2, 1},
        {{stream(4000, OVL), stream(1920, ENC | TEX)}, 24, 60, {{FC, 1}}, 0, 60, 5, 1},
        {{stream(1920, TEX)}, 30, 30, {{FC, 2}, {SC, 7}}, 0, 30, 7, 2},
        {{stream(3840, ENC)}, 30, 30, {{FC, 2}, {SC, 9}}, 0, 30, 4, 2},
        {{stream(1920, ENC)}, 30, 30, {{FC, 0}, {PF, -1}, {DIS, -1}}, 0, 30, 2, 0, true},
        {{stream(1920, ENC)}, 30, 30, {{FC, 1}, {PF, 2}, {DIS, 0}, {LM, 5}, {UM, -6}}, 0, 30, 2, 1,
         false, 5, -6, true},
        {{stream(1920, ENC)}, 30, 30, {{SC, 3}}, 0, 0, 0, 0}};
    // clang-format on
    auto* dbl = customdbl::api();
    enableDebugLog();
    for (const auto& row : rows) {
        SCOPED_TRACE("row " + std::to_string(&row - rows));
        qcam::StreamConfiguration config;
        config.streams = row.streams;
        if (row.fpsMin >= 0) {
            NSCam::IMetadata::IEntry range(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE);
            range.push_back(row.fpsMin, NSCam::Type2Type<int>());
            range.push_back(row.fpsMax, NSCam::Type2Type<int>());
            config.sessionParams.update(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE, range);
        }
        dbl->clearOutCmds(CUSTOMDBL_CONFIG);
        for (const auto& [key, value] : row.keys)
            dbl->setOutCmd(CUSTOMDBL_CONFIG, key, value);
        LogCapture capture;
        auto configured = ctrl->enterPerfCtrl_ConfigureStream(config);
        const std::string log = capture.take();
        EXPECT_EQ(countLog(log, 'W', kFps) + 2 * countLog(log, 'W', kNone), row.warn);
        // The C2PS stand-in logs each record it receives.
        char line[256];
        std::snprintf(line, sizeof(line),
                      "D/C2PSMachine(%d): init fps=%d scenario=%d featureCustomization=%d "
                      "disableIneffCpufreq=%d lmcoreUmRatio=%d umMin=%d pfPolicy=%d\n",
                      getpid(), row.fps, row.scenario, row.fc, row.disable ? 1 : 0, row.lm, row.um,
                      row.pf ? 1 : 0);
        std::string c2ps;
        std::istringstream in(log);
        for (std::string l; std::getline(in, l);)
            c2ps += l.rfind("D/C2PSMachine(", 0) == 0 ? l + "\n" : "";
        EXPECT_EQ(c2ps, row.fps != 0 ? line : "");
    }
}

}  // namespace
}  // namespace camtest
