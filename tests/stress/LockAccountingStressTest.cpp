// SPDX-License-Identifier: Apache-2.0
// Several threads run every operation of the controller against the host power service for
// a few rounds, bounded in count and in time. After each round every lock must have ended
// exactly once (released, or expired by its duration, detached or not), no release may have
// been bad, and memory must not grow from round to round.

#include <gtest/gtest.h>
#include <malloc.h>
#include <sched.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>
#include <memory>
#include <thread>
#include <vector>

#include "Cam3PerfCtrl.h"
#include "CustomDouble.h"
#include "QvnPerfService.h"
#include "common/AllowedCpuMask.h"
#include "qvncam/platform/Clock.h"
#include "qvncam/platform/VirtualClock.h"

namespace {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;
using Clock = std::chrono::steady_clock;
using Slot = std::unique_ptr<PerfOperator>;

constexpr int kRounds = 4, kWorkers = 3, kOpsPerWorker = 3000, kRequestsPerOpen = 300;
constexpr auto kRoundBudget = std::chrono::seconds(20);
// Malloc's in-use bytes may move a little between rounds (thread stacks' TLS, free lists).
constexpr long long kMemorySlack = 256 * 1024;

// The camera thread: opens, configures, runs requests with overwrites and completes them
// three frames later, closes; as often as the budget allows within its count.
int cameraSessions(Cam3PerfCtrl* ctrl, Clock::time_point deadline) {
    int ops = 0;
    for (int open = 0; open < 3 && Clock::now() < deadline; ++open, ops += 2) {
        auto enter = ctrl->enterPerfCtrl_EnterCamera(20);
        auto config = ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
        PerfCtrlSet set{std::dynamic_pointer_cast<PerfOperatorImp>(enter->getPerfOperator()),
                        std::dynamic_pointer_cast<PerfOperatorImp>(config->getPerfOperator()),
                        nullptr};
        for (int request = 0; request < kRequestsPerOpen && Clock::now() < deadline; ++request) {
            set.inflightHolder = ctrl->enterPerfCtrl_InflightRequest(request, nullptr, set);
            if (request >= 3)
                set.inflightHolder->notifyRequestDone(request - 3);
            ops += 2;
        }
        if (open % 2 == 0)
            enter->exit();  // the pipeline's explicit close; otherwise dropping ends it
    }
    return ops;
}

// Boosts, per-task control and thread placement, with lifetimes that overlap, explicit
// exits, drops, and detached timed locks left to the service.
int workerMix(Cam3PerfCtrl* ctrl, int seed, Clock::time_point deadline) {
    const std::function<void(int, Slot&)> mix[] = {
        [&](int i, Slot& s) {  // levels 0..4; 4 has no list
            s = ctrl->runPerfBoost(static_cast<EPERF_BOOST_OPERATION>(i % 5), 50);
        },
        [&](int, Slot& s) { s = ctrl->runDefaultBoost(0); },
        [&](int, Slot&) { ctrl->runPerfBoost(EPERF_BOOST_CAPTURE_PIPELINE, 2)->detach(); },
        [&](int i, Slot& s) { s = ctrl->enablePerTaskEASControl(gettid(), i % 4 ? 0x8003 : 4); },
        [&](int, Slot& s) { s ? s->exit() : false; },
        [&](int, Slot&) { ctrl->setAffinity(); },
        [&](int, Slot&) { ctrl->queryAffinity("stress"); },
    };
    std::vector<Slot> held(4);
    int i = 0;
    for (; i < kOpsPerWorker && Clock::now() < deadline; ++i)
        mix[(i + seed) % 7](i, held[i % held.size()]);
    return i;
}

// Every call expires due locks: read the counters an hour later on the virtual clock, past
// every duration, instead of waiting for them to run out.
QvnPerfCounters settledCounters() {
    qvncam::host::useVirtualClock(qvncam::platform::clock_now_us() + 3600LL * 1000 * 1000);
    QvnPerfCounters c{};
    qvnperf_get_counters(&c);
    qvncam::host::useSystemClock();
    return c;
}

TEST(LockAccountingStress, NoLeakNoBadReleaseNoGrowth) {
    const customdbl::Api* custom = customdbl::api();
    ASSERT_NE(custom, nullptr);
    customdbl::scriptTypicalAnswers(allowedMask());
    custom->setTimeout(CUSTOMDBL_RUNTIME, 30);
    qvnperf_set_warnings(0);

    Cam3PerfCtrl* ctrl = Cam3PerfCtrl::getInstance();
    std::vector<long long> inUse;
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        qvnperf_reset();
        const auto deadline = Clock::now() + kRoundBudget;
        std::atomic<int> ops{0};
        std::vector<std::thread> threads;
        threads.emplace_back([&] { ops += cameraSessions(ctrl, deadline); });
        for (int w = 0; w < kWorkers; ++w)
            threads.emplace_back([&, w] { ops += workerMix(ctrl, w, deadline); });
        for (auto& t : threads)
            t.join();
        EXPECT_GT(ops.load(), kWorkers * 7);

        const QvnPerfCounters c = settledCounters();
        std::cout << "round " << round << ": " << ops << " operations, " << c.granted
                  << " locks granted, " << c.reissued << " re-issued, " << c.released
                  << " released, " << c.expired << " expired" << std::endl;
        EXPECT_GT(c.granted, 0u);
        EXPECT_EQ(c.live, 0u) << "locks still held after every owner let go";
        EXPECT_EQ(c.granted, c.released + c.expired);
        EXPECT_EQ(c.bad_releases, 0u);
        EXPECT_EQ(c.refused, 0u);

        qvnperf_reset();  // its event log is not ours to count
        inUse.push_back(static_cast<long long>(mallinfo2().uordblks));
    }
    // The first round fills caches and pools; later rounds must not add to them.
    for (size_t i = 2; i < inUse.size(); ++i)
        EXPECT_LE(inUse[i], inUse[1] + kMemorySlack) << "round " << i;
}

}  // namespace
