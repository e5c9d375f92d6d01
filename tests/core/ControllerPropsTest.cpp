// The controller with a property file present when the library loads.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "ControllerPeer.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

// The zoom tuning is read at library load, so the checks run in a fresh copy of this
// process started with the property file in its environment.
TEST(ControllerWithProperties, ZoomTuningAndLogSwitchComeFromTheFile) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ASSERT_EQ(setenv("QVNCAM_PROPERTIES", QVNCAM_CORE_PROPERTIES_FILE, 1), 0);
    EXPECT_EXIT(
        {
            Cam3PerfCtrlImp ctrl;
            std::fprintf(stderr, "zoom=%d,%d,%d,%d log=%d\n", g_multicam_zoom_dram_opp,
                         g_multicam_zoom_cpu0_freq, g_multicam_zoom_cpu1_freq,
                         g_multicam_zoom_cpu2_freq, Cam3PerfCtrlImpTestPeer(ctrl).logLevel());
            std::_Exit(0);
        },
        testing::ExitedWithCode(0), "zoom=3,1800000,16,-1 log=2\n");
}
