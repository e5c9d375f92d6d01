// The controller instance, without a customisation library.

#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <thread>

#include "ControllerPeer.h"
#include "CoreTestSupport.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

namespace {

// Calls getInstance from several threads released at once.
std::vector<Cam3PerfCtrl*> getInstanceConcurrently(int threads) {
    std::vector<Cam3PerfCtrl*> seen(static_cast<size_t>(threads), nullptr);
    std::atomic<int> ready{0};
    std::vector<std::thread> pool;
    for (int i = 0; i < threads; ++i) {
        pool.emplace_back([&, i] {
            ready.fetch_add(1);
            while (ready.load() < threads) {
                std::this_thread::yield();
            }
            seen[static_cast<size_t>(i)] = Cam3PerfCtrl::getInstance();
        });
    }
    for (auto& t : pool) {
        t.join();
    }
    return seen;
}

}  // namespace

TEST(ControllerInstance, ConcurrentFirstCallsBuildOneInstance) {
    coretest::enableDebugLog();
    testing::internal::CaptureStderr();
    const auto seen = getInstanceConcurrently(8);
    Cam3PerfCtrl* later = Cam3PerfCtrl::getInstance();
    const std::string err = testing::internal::GetCapturedStderr();

    ASSERT_NE(seen[0], nullptr);
    for (Cam3PerfCtrl* p : seen) {
        EXPECT_EQ(p, seen[0]);
    }
    EXPECT_EQ(later, seen[0]);
    EXPECT_NE(dynamic_cast<Cam3PerfCtrlImp*>(later), nullptr);
    EXPECT_EQ(coretest::countLog(err, 'D', "Cam3PerfCtrl",
                                 "Apply process profile: ProcessCapacityNormal\n"),
              1)
        << err;
    EXPECT_EQ(coretest::countOf(err, "Failed to apply process profile"), 0) << err;
}

TEST(ControllerInstance, ProfileFailureIsWarnedOnceAndConstructionGoesOn) {
    qvncam::host::forceProcessProfilesFailure(true);
    testing::internal::CaptureStderr();
    const auto seen = getInstanceConcurrently(4);
    const std::string err = testing::internal::GetCapturedStderr();
    qvncam::host::forceProcessProfilesFailure(false);

    ASSERT_NE(seen[0], nullptr);
    EXPECT_EQ(coretest::countLog(err, 'W', "Cam3PerfCtrl",
                                 "Failed to apply process profile: ProcessCapacityNormal\n"),
              1)
        << err;
}

struct LogLevelRow {
    const char* name;
    const char* value;  // null: unset
    int expected;
};

void PrintTo(const LogLevelRow& row, std::ostream* os) {
    *os << row.name;
}

class ControllerLogLevelTest : public testing::TestWithParam<LogLevelRow> {};

TEST_P(ControllerLogLevelTest, ConstructionSetsFieldsAndReadsTheLogSwitch) {
    if (GetParam().value != nullptr) {
        qvncam::host::setProperty("vendor.cam3perfctrl.log", GetParam().value);
    }
    testing::internal::CaptureStderr();
    Cam3PerfCtrlImp ctrl;
    const std::string err = testing::internal::GetCapturedStderr();
    Cam3PerfCtrlImpTestPeer peer(ctrl);

    EXPECT_EQ(peer.logLevel(), GetParam().expected);
    EXPECT_EQ(peer.enterCam(), nullptr);
    EXPECT_EQ(peer.configTime(), nullptr);
    EXPECT_EQ(peer.runtime(), nullptr);
    EXPECT_EQ(peer.queryCpu(), nullptr);
    EXPECT_TRUE(peer.hasJsonConvertor());
    EXPECT_FALSE(peer.jsonEnabled());
    EXPECT_FALSE(peer.jsonCmdSet().enterCamExist);
    EXPECT_FALSE(peer.jsonCmdSet().configCamExist);
    EXPECT_TRUE(peer.jsonCmdSet().enterCamCmds.empty());
    EXPECT_TRUE(peer.jsonCmdSet().configCamCmds.empty());
    EXPECT_EQ(peer.cpuAffyScene(), 0);
    EXPECT_EQ(coretest::countLog(err, 'E', "PerfCtrlHelper", "dlopen fail: "), 1) << err;
}

INSTANTIATE_TEST_SUITE_P(LogSwitch, ControllerLogLevelTest,
                         testing::Values(LogLevelRow{"Unset", nullptr, 0},
                                         LogLevelRow{"Two", "2", 2},
                                         LogLevelRow{"NotANumber", "loud", 0}),
                         [](const testing::TestParamInfo<LogLevelRow>& info) {
                             return info.param.name;
                         });

TEST(ControllerInstance, CheckCPUMaskAcceptsExactlyOneToTwoFiftyFive) {
    Cam3PerfCtrlImp ctrl;
    const struct {
        int mask;
        bool legal;
    } rows[] = {
        {0, false},    {1, true},        {2, true},        {0x80, true},
        {255, true},   {256, false},     {0x101, false},   {-1, false},
        {-255, false}, {INT_MIN, false}, {INT_MAX, false}, {INT_MIN + 1, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ctrl.checkCPUMask(row.mask), row.legal) << "mask " << row.mask;
    }
}

TEST(ControllerInstance, ZoomTuningDefaultsWhenUnset) {
    EXPECT_EQ(g_multicam_zoom_dram_opp, -255);
    EXPECT_EQ(g_multicam_zoom_cpu0_freq, -1);
    EXPECT_EQ(g_multicam_zoom_cpu1_freq, -1);
    EXPECT_EQ(g_multicam_zoom_cpu2_freq, -1);
}
