// In-flight requests, thread placement and a whole camera session with the complete
// customisation library.

#include <pthread.h>
#include <sched.h>

#include <atomic>
#include <optional>
#include <thread>
#include <tuple>

#include "CamTestSupport.h"

namespace camtest {
namespace {

// An opened and configured camera whose enter and configure locks requests can extend.
struct Session {
    std::shared_ptr<PerfOperatorHolder> entered, configured;
    PerfCtrlSet set;
    int enterHandle = 0, configHandle = 0;
};

Session openSession(Cam3PerfCtrlImp& ctrl) {
    Session s;
    s.entered = ctrl.enterPerfCtrl_EnterCamera(0);
    s.configured = ctrl.enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
    const auto got = recpower::acquires();
    s.enterHandle = got.at(got.size() - 2).result;  // the custom enter lock, then configure's
    s.configHandle = got.back().result;
    s.set.enterCamOperator =
        std::dynamic_pointer_cast<PerfOperatorImp>(s.entered->getPerfOperator());
    s.set.configCamOperator =
        std::dynamic_pointer_cast<PerfOperatorImp>(s.configured->getPerfOperator());
    return s;
}

// Names and affinity belong to a thread: each placement runs on a thread of its own.
template <typename Fn>
void onThreadNamed(const char* name, Fn fn) {
    std::thread([&] {
        pthread_setname_np(pthread_self(), name);
        fn();
    }).join();
}

cpu_set_t currentAffinity() {
    cpu_set_t set;
    CPU_ZERO(&set);
    EXPECT_EQ(sched_getaffinity(0, sizeof(set), &set), 0);
    return set;
}

using RequestTest = CamTest;

TEST_F(RequestTest, RequestsOverwriteHeldLocksAndEndWhenDone) {
    Session s = openSession(*ctrl);
    auto* dbl = customdbl::api();
    dbl->setOutCmd(CUSTOMDBL_RUNTIME, "PERF_RES_CPUFREQ_MIN_CLUSTER_1", 800000);
    dbl->setTimeout(CUSTOMDBL_RUNTIME, 33);
    dbl->setOverwriteCmd(CUSTOMDBL_OVERWRITE_ENTER, "PERF_RES_GPU_FW_IDLE", 3);
    dbl->setOverwriteCmd(CUSTOMDBL_OVERWRITE_CONFIG, "PERF_RES_DRAM_OPP_MIN", 2);
    NSCam::IMetadata meta;
    size_t before = acquireCount();
    auto inflight = ctrl->enterPerfCtrl_InflightRequest(1, &meta, s.set);
    ASSERT_NE(inflight, nullptr);
    const auto got = acquiresFrom(before);
    ASSERT_EQ(got.size(), 3u);
    EXPECT_EQ(std::make_tuple(got[0].handleIn, got[0].duration, got[0].list),
              std::make_tuple(s.enterHandle, 0, std::vector<int>({kGpuIdle, 3})));
    EXPECT_EQ(std::make_tuple(got[1].handleIn, got[1].list),
              std::make_tuple(s.configHandle, std::vector<int>({kDramOpp, 2})));
    EXPECT_EQ(std::make_tuple(got[2].handleIn, got[2].duration, got[2].list),
              std::make_tuple(0, 33, std::vector<int>({kCluster1, 800000})));
    EXPECT_EQ(customdbl::lastParams(CUSTOMDBL_RUNTIME),
              CustomParams({{"IS_CONFIG_TIME_KEY", "0"}}));
    EXPECT_EQ(dbl->lastMetadata(), &meta);

    dbl->clearOverwriteCmds();
    s.set.inflightHolder = inflight;
    EXPECT_EQ(ctrl->enterPerfCtrl_InflightRequest(2, &meta, s.set), inflight);
    const int second = recpower::acquires().back().result;
    EXPECT_EQ(ctrl->enterPerfCtrl_InflightRequest(2, &meta, s.set), inflight);  // replaces
    const int third = recpower::acquires().back().result;
    EXPECT_EQ(recpower::releases(), std::vector<int>({second}));
    inflight->notifyRequestDone(1);
    inflight->notifyRequestDone(99);
    EXPECT_EQ(recpower::releases(), std::vector<int>({second, got[2].result}));

    dbl->setResult(CUSTOMDBL_RUNTIME, false);  // declined: not even the holder comes back
    EXPECT_EQ(ctrl->enterPerfCtrl_InflightRequest(3, &meta, s.set), nullptr);
    inflight->exit();
    EXPECT_EQ(recpower::releasesOf(third), 1);
}

TEST_F(RequestTest, CountsDecideWhatIsMadeNotTheLists) {
    Session s = openSession(*ctrl);
    using Map = std::vector<std::pair<const char*, int>>;
    const char* kC1 = "PERF_RES_CPUFREQ_MIN_CLUSTER_1";
    const char* kGpu = "PERF_RES_GPU_FW_IDLE";
    // clang-format off
    struct { Map out, enter, config; bool refuse;
             std::optional<Pairs> enterExtra, configExtra, request; } rows[] = {
        {{}, {}, {}, false, {}, {}, {}},
        {{{kC1, -1}}, {}, {}, false, {}, {}, {}},
        {{{"PERF_RES_NOPE", 0}}, {}, {}, true, {}, {}, Pairs{}},
        {{{kC1, 5}, {kGpu, -1}}, {}, {}, false, {}, {}, Pairs{{kCluster1, 5}, {kGpuIdle, -1}}},
        {{}, {{kGpu, -1}}, {}, false, {}, {}, {}},
        {{}, {{kGpu, -1}, {"PERF_RES_NOPE", 1}}, {}, false, Pairs{{kGpuIdle, -1}}, {}, {}},
        {{{"C2PS_SCENARIO", 1}}, {}, {{"PERF_RES_DRAM_OPP_MIN", 4}}, false, {}, Pairs{{kDramOpp, 4}},
         Pairs{}}};
    // clang-format on
    auto* dbl = customdbl::api();
    for (const auto& row : rows) {
        const int index = static_cast<int>(&row - rows);
        SCOPED_TRACE("row " + std::to_string(index));
        dbl->clearOutCmds(CUSTOMDBL_RUNTIME);
        dbl->clearOverwriteCmds();
        for (const auto& kv : row.out)
            dbl->setOutCmd(CUSTOMDBL_RUNTIME, kv.first, kv.second);
        for (const auto& kv : row.enter)
            dbl->setOverwriteCmd(CUSTOMDBL_OVERWRITE_ENTER, kv.first, kv.second);
        for (const auto& kv : row.config)
            dbl->setOverwriteCmd(CUSTOMDBL_OVERWRITE_CONFIG, kv.first, kv.second);
        recpower::setMode(row.refuse ? RECPOWER_REFUSE_ALL : RECPOWER_GRANT_ALL);
        const size_t before = acquireCount();
        testing::internal::CaptureStderr();
        EXPECT_NE(ctrl->enterPerfCtrl_InflightRequest(index, nullptr, s.set), nullptr);
        const std::string log = testing::internal::GetCapturedStderr();
        auto got = acquiresFrom(before);
        for (const auto& [want, handleIn] :
             {std::make_pair(row.enterExtra, s.enterHandle),
              std::make_pair(row.configExtra, s.configHandle), std::make_pair(row.request, 0)}) {
            if (!want)
                continue;
            ASSERT_FALSE(got.empty());
            EXPECT_EQ(got.front().handleIn, handleIn);
            EXPECT_EQ(sortedPairs(got.front().list), *want);
            got.erase(got.begin());
        }
        EXPECT_TRUE(got.empty());
        EXPECT_EQ(
            countLog(log, 'W', "Failed to create PerfOperator during inflight request, outSize=2"),
            row.refuse ? 1 : 0);
    }
}

TEST_F(RequestTest, CompletionsOnAnotherThreadReleaseExactlyTheirLocks) {
    Session s = openSession(*ctrl);
    customdbl::api()->setOutCmd(CUSTOMDBL_RUNTIME, "PERF_RES_CPUFREQ_MIN_CLUSTER_1", 1);
    const size_t baseline = acquireCount();
    auto holder = ctrl->enterPerfCtrl_InflightRequest(0, nullptr, s.set);
    s.set.inflightHolder = holder;
    constexpr int kRequests = 200;
    std::atomic<int> submitted{0};
    std::thread completer([&] {
        for (int done = 0; done < kRequests;) {
            if (done < submitted.load(std::memory_order_acquire)) {
                holder->notifyRequestDone(++done);
            } else {
                std::this_thread::yield();
            }
        }
    });
    for (int i = 1; i <= kRequests; ++i) {
        ctrl->enterPerfCtrl_InflightRequest(i, nullptr, s.set);
        submitted.store(i, std::memory_order_release);
    }
    completer.join();
    holder->notifyRequestDone(0);
    const auto requests = acquiresFrom(baseline);
    ASSERT_EQ(requests.size(), static_cast<size_t>(kRequests + 1));
    for (const auto& a : requests)
        EXPECT_EQ(recpower::releasesOf(a.result), 1) << a.result;
    EXPECT_EQ(recpower::live().size(), 4u);  // the three enter locks and configure's
    EXPECT_EQ(recpower::badReleases(), 0);
}

using AffinityTest = CamTest;

TEST_F(AffinityTest, SetAffinityPlacesTheCallingThread) {
    const cpu_set_t initial = currentAffinity();
    if (!CPU_ISSET(0, &initial) || !CPU_ISSET(1, &initial))
        GTEST_SKIP() << "needs CPUs 0 and 1";
    enableDebugLog();
    // clang-format off
    struct { int mask; bool placed; char prio; const char* line; } rows[] = {
        {0x1, true, 'D', "Thread camAff set affinity to 1"},
        {0x2, true, 'D', "Thread camAff set affinity to 2"},
        {0x3, true, 'D', "Thread camAff set affinity to 3"},
        {-1, false, 'D', "Thread camAff affinity undefined"},
        {0, false, 'W', "camAff illegal cpu mask: 0"},
        {256, false, 'W', "camAff illegal cpu mask: 100"},
        {0x80, false, 'E', "camAff fail to sched_setaffinity: Invalid argument"}};
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE("mask " + std::to_string(row.mask));
        if (row.mask == 0x80 && CPU_ISSET(7, &initial))
            continue;  // needs a CPU we may not use
        customdbl::api()->setQueryMaskFor("camAff", row.mask);
        bool placed = false;
        cpu_set_t after, want;
        testing::internal::CaptureStderr();
        onThreadNamed("camAff", [&] {
            placed = ctrl->setAffinity();
            after = currentAffinity();
        });
        const std::string log = testing::internal::GetCapturedStderr();
        EXPECT_EQ(placed, row.placed);
        EXPECT_EQ(countLog(log, row.prio, row.line), 1) << log;
        CPU_ZERO(&want);
        for (int cpu = 0; cpu < 8; ++cpu) {
            if (row.mask >> cpu & 1)
                CPU_SET(cpu, &want);
        }
        EXPECT_TRUE(CPU_EQUAL(&after, row.placed ? &want : &initial));
    }
}

TEST_F(AffinityTest, QueryFollowsSceneAndCachesTheSwitchOff) {
    auto* dbl = customdbl::api();
    dbl->setQueryMaskFor("camA", 0x3);
    dbl->setQueryMaskFor("zero", 0);
    dbl->setQueryMaskFor("big", 256);
    EXPECT_EQ(ctrl->queryAffinity("camA"), 0x3);
    EXPECT_EQ(ctrl->queryAffinity("zero"), 0);
    EXPECT_EQ(ctrl->queryAffinity("big"), 256);  // asking does not check legality
    EXPECT_EQ(ctrl->queryAffinity("other"), 0);  // -1: no placement

    dbl->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", 5);
    auto configured = ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
    for (const auto& [prop, scene] :
         std::vector<std::pair<const char*, int>>{{nullptr, 5}, {"0", 0}, {"-3", 5}, {"7", 7}}) {
        SCOPED_TRACE(scene);
        if (prop)
            setProperty("vendor.cam3perfctrl.setaffinity.scene", prop);
        onThreadNamed("camB", [&] { ctrl->setAffinity(); });
        EXPECT_EQ(customdbl::lastQuery().scene, scene);
        ctrl->queryAffinity("camA");
        EXPECT_EQ(customdbl::lastQuery().scene, scene);
    }

    // setAffinity reads the switch-off afresh; queryAffinity read it once, above.
    setProperty("vendor.cam3perfctrl.setaffinity.forceoff", "1");
    const int calls = dbl->callCount(CUSTOMDBL_QUERY);
    bool placed = true;
    onThreadNamed("camA", [&] { placed = ctrl->setAffinity(); });
    EXPECT_FALSE(placed);
    EXPECT_EQ(dbl->callCount(CUSTOMDBL_QUERY), calls);
    EXPECT_EQ(ctrl->queryAffinity("camA"), 0x3);
}

using SessionTest = CamTest;

TEST_F(SessionTest, WholeSessionLeavesNoLockBehind) {
    auto* dbl = customdbl::api();
    dbl->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_CPUFREQ_MIN_CLUSTER_0", 1000000);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "PERF_RES_CPUFREQ_MIN_CLUSTER_1", 700000);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", 1);
    dbl->setOutCmd(CUSTOMDBL_CONFIG, "C2PS_FEATURE_CUSTOMIZATION", 1);
    dbl->setOutCmd(CUSTOMDBL_RUNTIME, "PERF_RES_CPUFREQ_MIN_CLUSTER_2", 1);
    dbl->setOverwriteCmd(CUSTOMDBL_OVERWRITE_ENTER, "PERF_RES_GPU_FW_IDLE", 1);
    dbl->setQueryMaskFor("camSession", 0x1);

    Session s = openSession(*ctrl);
    for (int req = 0; req < 40; ++req) {
        s.set.inflightHolder = ctrl->enterPerfCtrl_InflightRequest(req, nullptr, s.set);
        if (req % 2 == 1)
            s.set.inflightHolder->notifyRequestDone(req - 1);
        if (req % 10 == 0) {
            ctrl->runPerfBoost(EPERF_BOOST_CAPTURE_PIPELINE, 50);
            auto eas = ctrl->enablePerTaskEASControl(gettid(), 0x8001);
        }
    }
    bool placed = false;
    onThreadNamed("camSession", [&] { placed = ctrl->setAffinity(); });
    EXPECT_TRUE(placed);
    EXPECT_TRUE(ctrl->runDefaultBoost(100)->isAlive());

    // Close: the requests still in flight, then the configure and open holders.
    s.set.inflightHolder->exit();
    s.set = PerfCtrlSet();
    s.configured->exit();
    s.configured.reset();
    s.entered->exit();
    s.entered.reset();
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
    for (const auto& a : recpower::acquires()) {
        EXPECT_EQ(recpower::releasesOf(a.result), 1) << a.result;  // re-issues keep their handle
    }
}

}  // namespace
}  // namespace camtest
