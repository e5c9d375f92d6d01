// C2PS set-up at configure-stream, checked on the record the host's C2PS stand-in keeps.

#include "CamTestSupport.h"
#include "qvncam/platform/HostControl.h"

namespace camtest {
namespace {

using EnterConfigTest = CamTest;

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
        qvncam::host::resetC2PSInit();
        LogCapture capture;
        auto configured = ctrl->enterPerfCtrl_ConfigureStream(config);
        const std::string log = capture.take();
        EXPECT_EQ(countLog(log, 'W', kFps) + 2 * countLog(log, 'W', kNone), row.warn);
        C2PSInitParams got;
        ASSERT_EQ(qvncam::host::lastC2PSInit(&got), row.fps != 0);
        const auto* raw = reinterpret_cast<const unsigned char*>(&got);  // padding zeroed too
        if (row.fps != 0) {
            EXPECT_EQ(
                std::make_tuple(got.fps, got.scenario, got.featureCustomization,
                                got.disableIneffCpufreq, got.lmcoreUmRatio, got.umMin, got.pfPolicy,
                                raw[13] | raw[14] | raw[15] | raw[25] | raw[26] | raw[27]),
                std::make_tuple(row.fps, row.scenario, row.fc, row.disable, row.lm, row.um, row.pf,
                                0));
        }
    }
}

}  // namespace
}  // namespace camtest
