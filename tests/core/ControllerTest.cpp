// SPDX-License-Identifier: Apache-2.0
// The controller instance, without a customisation library.

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <future>
#include <thread>

#include "Cam3PerfCtrlInternal.h"
#include "CoreTestSupport.h"
#include "common/DebugLog.h"
#include "qvncam/platform/HostControl.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

// Parameter: whether the process profile cannot be applied, which construction survives.
class ControllerInstance : public testing::TestWithParam<bool> {};

TEST_P(ControllerInstance, ConcurrentFirstCallsBuildOneInstance) {
    enableDebugLog();
    qvncam::host::forceProcessProfilesFailure(GetParam());
    std::vector<Cam3PerfCtrl*> seen(8);
    std::promise<void> go;
    std::shared_future<void> ready = go.get_future().share();
    std::vector<std::thread> pool;
    testing::internal::CaptureStderr();
    for (Cam3PerfCtrl*& p : seen) {
        pool.emplace_back([ready, &p] {
            ready.wait();
            p = Cam3PerfCtrl::getInstance();
        });
    }
    go.set_value();
    for (std::thread& t : pool) {
        t.join();
    }
    const std::string err = testing::internal::GetCapturedStderr();
    auto* ctrl = dynamic_cast<Cam3PerfCtrlImp*>(Cam3PerfCtrl::getInstance());
    ASSERT_NE(ctrl, nullptr);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), ctrl), 8);
    // the constructor ran once
    EXPECT_EQ(coretest::countOf(err, "process profile"), 1) << err;
    const char* line = GetParam() ? "Failed to apply process profile: ProcessCapacityNormal\n"
                                  : "Apply process profile: ProcessCapacityNormal\n";
    EXPECT_EQ(coretest::countLog(err, GetParam() ? 'W' : 'D', "Cam3PerfCtrl", line), 1) << err;

    for (int mask : {0, 256, 0x101, -1, -255, INT_MIN, INT_MAX}) {
        EXPECT_FALSE(ctrl->checkCPUMask(mask)) << mask;
    }
    for (int mask : {1, 2, 0x80, 255}) {
        EXPECT_TRUE(ctrl->checkCPUMask(mask)) << mask;
    }
}

INSTANTIATE_TEST_SUITE_P(ProfileFails, ControllerInstance, testing::Bool());
