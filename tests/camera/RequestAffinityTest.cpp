// SPDX-License-Identifier: Apache-2.0
// In-flight requests, thread placement and a whole camera session with the complete
// customisation library.

#include <pthread.h>

#include <atomic>
#include <thread>

#include "CamTestSupport.h"
#include "common/AllowedCpuMask.h"
#include "common/DebugLog.h"

namespace camtest {
namespace {

// The recording client numbers new locks 1, 2, 3, ...: opening and configuring a camera
// takes 1 platform, 2 boost, 3 the custom enter lock and 4 configure's.
constexpr int kEnterHandle = 3, kConfigHandle = 4;

using RequestTest = CamTest;

TEST_F(RequestTest, WholeSessionWithCompletionsOnAnotherThreadLeavesNoLock) {
    auto* dbl = customdbl::api();
    dbl->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_DRAM_OPP_MIN", 5);
    dbl->setTimeout(CUSTOMDBL_ENTER, 500);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "PERF_RES_CPUFREQ_MIN_CLUSTER_0", 1500000);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", 2);
    dbl->setTimeout(CUSTOMDBL_CONFIG, 700);
    dbl->setOutCmd(CUSTOMDBL_RUNTIME, "PERF_RES_CPUFREQ_MIN_CLUSTER_2", 1);
    dbl->setTimeout(CUSTOMDBL_RUNTIME, 33);
    dbl->setOverwriteCmd(CUSTOMDBL_OVERWRITE_ENTER, "PERF_RES_GPU_FW_IDLE", 3);
    dbl->setOverwriteCmd(CUSTOMDBL_OVERWRITE_CONFIG, "PERF_RES_DRAM_OPP_MIN", 2);
    dbl->setQueryMaskFor("camSession", 0x1);
    const qcam::StreamConfiguration config;
    {
        auto entered = ctrl->enterPerfCtrl_EnterCamera(200);
        auto configured = ctrl->enterPerfCtrl_ConfigureStream(config);
        EXPECT_EQ(issued(), Issued({{0, kPlatform, 0},
                                    {0, kDefaultBoost, 200},
                                    {0, {kDramOpp, 5}, 500},
                                    {0, {kCluster0, 1500000}, 700}}));
        EXPECT_TRUE(customdbl::lastParams(CUSTOMDBL_ENTER).empty());
        EXPECT_EQ(customdbl::lastParams(CUSTOMDBL_CONFIG),
                  CustomParams({{"IS_CONFIG_TIME_KEY", "1"}}));
        EXPECT_EQ(dbl->lastConfig(), &config);
        EXPECT_EQ(Peer::scene(*ctrl), 2);

        // Request 1 (lock 5) re-issues its overwrites on the held locks; request 2 takes lock 6,
        // then lock 7 in its place.
        PerfCtrlSet set{std::dynamic_pointer_cast<PerfOperatorImp>(entered->getPerfOperator()),
                        std::dynamic_pointer_cast<PerfOperatorImp>(configured->getPerfOperator()),
                        nullptr};
        NSCam::IMetadata meta;
        auto holder = ctrl->enterPerfCtrl_InflightRequest(1, &meta, set);
        EXPECT_EQ(issued(), Issued({{kEnterHandle, {kGpuIdle, 3}, 500},
                                    {kConfigHandle, {kDramOpp, 2}, 700},
                                    {0, {kCluster2, 1}, 33}}));
        EXPECT_EQ(customdbl::lastParams(CUSTOMDBL_RUNTIME),
                  CustomParams({{"IS_CONFIG_TIME_KEY", "0"}}));
        EXPECT_EQ(dbl->lastMetadata(), &meta);
        dbl->clearOverwriteCmds();
        set.inflightHolder = holder;
        EXPECT_EQ(ctrl->enterPerfCtrl_InflightRequest(2, nullptr, set), holder);
        EXPECT_EQ(ctrl->enterPerfCtrl_InflightRequest(2, nullptr, set), holder);
        holder->notifyRequestDone(2);
        EXPECT_EQ(recpower::releases(), List({6, 7}));

        // Completions on another thread while new requests come in, boosts in between.
        constexpr int kLast = 202;
        std::atomic<int> submitted{2};
        std::thread completer([&] {
            for (int done = 2; done < kLast;) {
                if (done < submitted.load(std::memory_order_acquire))
                    holder->notifyRequestDone(++done);
                else
                    std::this_thread::yield();
            }
        });
        for (int req = 3; req <= kLast; ++req) {
            ctrl->enterPerfCtrl_InflightRequest(req, nullptr, set);
            submitted.store(req, std::memory_order_release);
            if (req % 50 == 0) {
                ctrl->runPerfBoost(EPERF_BOOST_CAPTURE_PIPELINE, 50);
                auto eas = ctrl->enablePerTaskEASControl(gettid(), 0x8001);
            }
        }
        completer.join();
        EXPECT_EQ(recpower::live(), List({1, 2, kEnterHandle, kConfigHandle, 5}));
        // Counts, not lists, decide: entries below 0 are listed but not counted.
        issued();
        dbl->setOutCmd(CUSTOMDBL_RUNTIME, "PERF_RES_CPUFREQ_MIN_CLUSTER_2", -1);
        dbl->setOverwriteCmd(CUSTOMDBL_OVERWRITE_ENTER, "PERF_RES_GPU_FW_IDLE", -1);
        EXPECT_EQ(ctrl->enterPerfCtrl_InflightRequest(kLast + 1, nullptr, set), holder);
        EXPECT_TRUE(issued().empty());
        pthread_setname_np(pthread_self(), "camSession");
        EXPECT_TRUE(ctrl->setAffinity());

        // Close: the requests still in flight, then the configure and open holders, which let
        // their listed operators go last first and keep the ones in their slots.
        holder->exit();
        configured->exit();
        entered->exit();
        const List released = recpower::releases();
        EXPECT_EQ(List(released.end() - 3, released.end()), List({5, 2, 1}));
        EXPECT_EQ(recpower::live(), List({kEnterHandle, kConfigHandle}));
    }
    EXPECT_EQ(recpower::badReleases(), 0);
    for (const auto& a : recpower::acquires())
        EXPECT_EQ(recpower::releasesOf(a.result), 1) << a.result;  // re-issues keep their handle
    dbl->setResult(CUSTOMDBL_RUNTIME, false);  // declined: not even the holder comes back
    EXPECT_EQ(ctrl->enterPerfCtrl_InflightRequest(0, nullptr, PerfCtrlSet()), nullptr);
}

TEST_F(CamTest, AffinityPlacesTheCallingThreadQueryOnlyAsks) {
    const int initial = allowedMask(31);
    if ((initial & 0x3) != 0x3)
        GTEST_SKIP() << "needs CPUs 0 and 1";
    enableDebugLog();
    auto* dbl = customdbl::api();
    // clang-format off
    struct { int mask; bool placed; char prio; const char* line; } rows[] = {
        {0x1, true, 'D', "Thread camAff set affinity to 1"},
        {0x2, true, 'D', "Thread camAff set affinity to 2"},
        {-1, false, 'D', "Thread camAff affinity undefined"},
        {0, false, 'W', "camAff illegal cpu mask: 0"},
        {256, false, 'W', "camAff illegal cpu mask: 100"},
        {0x80, false, 'E', "camAff fail to sched_setaffinity: Invalid argument"}};
    // clang-format on
    std::thread placer([&] {  // placement is the calling thread's alone
        pthread_setname_np(pthread_self(), "camAff");
        int expected = initial;
        for (const auto& row : rows) {
            SCOPED_TRACE("mask " + std::to_string(row.mask));
            if (row.mask == 0x80 && (initial & 0x80))
                continue;  // needs a CPU we may not use
            dbl->setQueryMaskFor("camAff", row.mask);
            EXPECT_EQ(ctrl->queryAffinity("camAff"), row.mask == -1 ? 0 : row.mask);  // no checks
            LogCapture capture;
            EXPECT_EQ(ctrl->setAffinity(), row.placed);
            const std::string log = capture.take();
            EXPECT_EQ(countLog(log, row.prio, row.line), 1) << log;
            expected = row.placed ? row.mask : expected;
            EXPECT_EQ(allowedMask(31), expected);
        }
    });
    placer.join();
    EXPECT_EQ(allowedMask(31), initial);

    // The scene: the property's when 0 or more, else the configured one.
    dbl->setQueryMaskFor("camAff", 0x3);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", 5);
    auto configured = ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
    const std::pair<const char*, int> scenes[] = {{nullptr, 5}, {"0", 0}, {"-3", 5}, {"7", 7}};
    for (const auto& [prop, scene] : scenes) {
        SCOPED_TRACE(scene);
        if (prop)
            setProperty(PerfCtrlProperties::kAffinityScene.name, prop);
        ctrl->setAffinity();
        EXPECT_EQ(customdbl::lastQuery().scene, scene);
        ctrl->queryAffinity("camAff");
        EXPECT_EQ(customdbl::lastQuery().scene, scene);
    }
    // The switch-off is read afresh by placement, once by queries (above).
    setProperty(PerfCtrlProperties::kAffinityForceOff.name, "1");
    const int calls = dbl->callCount(CUSTOMDBL_QUERY);
    EXPECT_FALSE(ctrl->setAffinity());
    EXPECT_EQ(dbl->callCount(CUSTOMDBL_QUERY), calls);
    EXPECT_EQ(ctrl->queryAffinity("camAff"), 0x3);
}

}  // namespace
}  // namespace camtest
