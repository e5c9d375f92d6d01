// SPDX-License-Identifier: Apache-2.0
// Boosts on four threads against a power-service client that lacks one entry; built once
// per client (POWER_VARIANT 0: no "perf_lock_rel", 1: no "perf_lock_acq"), each with its
// own suite name (POWER_SUITE).

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "Cam3PerfCtrl.h"
#include "CoreTestSupport.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

namespace {

std::atomic<int> gDecoyCalls{0};

}  // namespace

// Decoys in the executable's dynamic symbols: a look-up on a null or stale handle searches
// the whole process and would land here instead of failing.
extern "C" __attribute__((visibility("default"))) int perf_lock_acq(int, int, int*, int) {
    return ++gDecoyCalls;
}
extern "C" __attribute__((visibility("default"))) int perf_lock_rel(int) {
    return ++gDecoyCalls;
}

TEST(POWER_SUITE, FailedLoadsOnFourThreadsStayContained) {
    const char* const warning = POWER_VARIANT == 0 ? "perfLockRel error: " : "perfLockAcq error: ";
    constexpr int kThreads = 4;
    constexpr int kBoosts = 2000;
    Cam3PerfCtrl* ctrl = Cam3PerfCtrl::getInstance();

    std::atomic<int> boosts{0};
    std::atomic<int> alive{0};
    testing::internal::CaptureStderr();
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kBoosts; ++i) {
                auto op = ctrl->runPerfBoost(EPERF_BOOST_DEFAULT, 100);
                boosts += op != nullptr;
                alive += op != nullptr && op->isAlive();
            }
        });
    }
    for (auto& t : threads) {
        t.join();
    }
    const std::string err = testing::internal::GetCapturedStderr();

    EXPECT_EQ(boosts, kThreads * kBoosts);
    EXPECT_EQ(alive, 0);
    EXPECT_EQ(gDecoyCalls, 0);
    // Each boost retried the load once and logged its one warning.
    EXPECT_EQ(coretest::countLog(err, 'W', "PerfCtrlHelper", warning), kThreads * kBoosts);
    EXPECT_EQ(coretest::countLog(err, 'W', "PerfCtrlHelper"), kThreads * kBoosts);
    // Every failed load closed what it opened.
    EXPECT_EQ(dlopen("libqvnperf_client_vendor.so", RTLD_NOW | RTLD_NOLOAD), nullptr);
}
