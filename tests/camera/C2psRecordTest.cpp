// SPDX-License-Identifier: Apache-2.0
// The C2PS record reaches the platform whole: every field, and the padding zeroed.

#include <cstring>

#include "CamTestSupport.h"
#include "qvncam/platform/HostControl.h"

namespace camtest {
namespace {

TEST_F(CamTest, C2psRecordArrivesWholeWithItsPaddingZeroed) {
    auto* dbl = customdbl::api();
    for (const auto& [key, value] : {std::make_pair("C2PS_FEATURE_CUSTOMIZATION", 1),
                                     {"C2PS_PF_POLICY_COMMAND", 2},
                                     {"C2PS_DISABLE_INEFF_CPUFREQ_COMMAND", 0},
                                     {"C2PS_LMCORE_UM_RATIO_COMMAND", 5},
                                     {"C2PS_UM_MIN_COMMAND", -6}})
        dbl->setOutCmd(CUSTOMDBL_CONFIG, key, value);
    qcam::StreamConfiguration config;
    config.streams = {{0, 0, 1920, 1, 0, 0x10000}};  // an FHD encoder
    auto configured = ctrl->enterPerfCtrl_ConfigureStream(config);
    C2PSInitParams got;
    std::memset(&got, 0xff, sizeof(got));
    ASSERT_TRUE(qvncam::host::lastC2PSInit(&got));
    const auto* raw = reinterpret_cast<const unsigned char*>(&got);
    EXPECT_EQ(std::make_tuple(got.fps, got.scenario, got.featureCustomization,
                              got.disableIneffCpufreq, got.lmcoreUmRatio, got.umMin, got.pfPolicy,
                              raw[13] | raw[14] | raw[15] | raw[25] | raw[26] | raw[27]),
              std::make_tuple(30, 2, 1, false, 5, -6, true, 0));
}

}  // namespace
}  // namespace camtest
