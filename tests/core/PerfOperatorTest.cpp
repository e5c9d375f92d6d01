// SPDX-License-Identifier: Apache-2.0
// The perf operator and its holders against the recording power-service client.

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <system_error>
#include <thread>
#include <tuple>
#include <type_traits>

#include "CoreTestSupport.h"
#include "OperatorFixture.h"
#include "common/LogCapture.h"

using namespace optest;

// An operator owns one lock and one place in the live-operator list: a copy or a move would
// release the lock twice and leave the list pointing at a dead object.
static_assert(!std::is_copy_constructible_v<PerfOperatorImp>);
static_assert(!std::is_copy_assignable_v<PerfOperatorImp>);
static_assert(!std::is_move_constructible_v<PerfOperatorImp>);
static_assert(!std::is_move_assignable_v<PerfOperatorImp>);

namespace {

// failures: "Failed to allocate handle!" from construction and perform_extra; releases: by
// exit, exit again and destruction; the *After columns: after exit.
struct StateRow {
    const char* name;
    RecPowerMode mode;
    int timeout, failures, releases, timeoutAfter;
    bool reissued, alive, detaches, aliveAfter;  // perform_extra's and detach()'s results
    friend void PrintTo(const StateRow& row, std::ostream* os) { *os << row.name; }
};

class OperatorStateTest : public OperatorTest, public testing::WithParamInterface<StateRow> {};

}  // namespace

TEST_P(OperatorStateTest, FollowsTheLifecycle) {
    const StateRow& row = GetParam();
    recpower::setMode(row.mode);
    const std::vector<int> more = {0x400200, 3};
    LogCapture capture;
    auto op = std::make_unique<PerfOperatorImp>(kCmds, row.timeout, "state");
    EXPECT_EQ(op->perform_extra(more), row.reissued);
    const std::string err = capture.take();
    EXPECT_EQ(coretest::countLog(err, 'E', "Cam3PerfCtrl", "Failed to allocate handle!"),
              row.failures)
        << err;
    // Lists go as they are, counted in ints; the re-issue names the held handle.
    const auto acq = recpower::acquires();
    ASSERT_EQ(acq.size(), 2u);
    EXPECT_EQ(std::make_tuple(acq[0].handleIn, acq[0].duration, acq[0].list),
              std::make_tuple(0, row.timeout, kCmds));
    EXPECT_EQ(std::make_tuple(acq[1].handleIn, acq[1].duration, acq[1].list),
              std::make_tuple(acq[0].result, row.timeout, more));

    EXPECT_EQ(op->isAlive(), row.alive);
    EXPECT_EQ(op->detach(), row.detaches);
    EXPECT_TRUE(op->exit());
    EXPECT_TRUE(op->exit());
    EXPECT_EQ(op->isAlive(), row.aliveAfter);
    EXPECT_EQ(op->getTimeoutInMilli(), row.timeoutAfter);
    op.reset();
    EXPECT_EQ(static_cast<int>(recpower::releases().size()), row.releases);
    EXPECT_EQ(recpower::badReleases(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    States, OperatorStateTest,
    testing::Values(
        // name, mode, timeout, failures, releases, timeoutAfter, reissued, alive, detaches,
        // aliveAfter
        StateRow{"HeldNoExpiry", RECPOWER_GRANT_ALL, 0, 0, 1, -1, true, true, false, false},
        // detached: neither exit nor destruction gives the lock back
        StateRow{"Detached", RECPOWER_GRANT_ALL, 60000, 0, 0, 60000, true, true, true, true},
        // the service refuses the re-issue: the operator turns failed, its lock is the service's
        StateRow{"Refused", RECPOWER_REFUSE_EVERY_OTHER, 0, 1, 0, 0, false, false, false, false},
        StateRow{"Failed", RECPOWER_REFUSE_ALL, 60000, 2, 0, 60000, false, false, false, false}),
    [](const testing::TestParamInfo<StateRow>& info) { return info.param.name; });

TEST_F(OperatorTest, HoldersReleaseInOrder) {
    // A phase holder releases its list last added first and keeps its custom operator.
    auto holder = std::make_shared<PerfOperatorHolderImp>();
    auto custom = makeOp();  // 1, also listed: the list's end leaves it to the other owner
    holder->setCustomHolder(custom);
    holder->push_back(std::move(custom));
    holder->push_back(makeOp());  // 2
    holder->push_back(makeOp());  // 3
    EXPECT_TRUE(holder->exit());
    EXPECT_EQ(recpower::releases(), (std::vector<int>{3, 2}));
    EXPECT_TRUE(holder->getPerfOperator()->isAlive());
    holder->setCustomHolder(makeOp());  // 4 replaces 1
    holder->push_back(makeOp());        // 5
    holder->push_back(makeOp());        // 6
    holder.reset();                     // the list, then the custom operator
    EXPECT_EQ(recpower::releases(), (std::vector<int>{3, 2, 1, 6, 5, 4}));

    // One lock per request.
    auto inflight = std::make_shared<InflightOperatorHolderImp>();
    EXPECT_TRUE(inflight->insert(1, makeOp()));    // 7
    EXPECT_TRUE(inflight->insert(2, makeOp()));    // 8
    EXPECT_TRUE(inflight->insert(1, makeOp()));    // 9 replaces 7
    EXPECT_TRUE(inflight->notifyRequestDone(99));  // unknown: nothing happens
    EXPECT_EQ(recpower::releases().back(), 7);
    EXPECT_TRUE(inflight->notifyRequestDone(1));
    EXPECT_TRUE(inflight->exit());
    EXPECT_TRUE(inflight->insert(5, makeOp()));  // 10, goes with the holder
    inflight.reset();
    EXPECT_EQ(recpower::releases(), (std::vector<int>{3, 2, 1, 6, 5, 4, 7, 9, 8, 10}));
}

TEST_F(OperatorTest, InflightInsertAndDoneFromTwoThreads) {
    constexpr int kRequests = 200;
    auto holder = std::make_shared<InflightOperatorHolderImp>();
    std::atomic<int> inserted{0};
    std::thread producer([&] {
        for (int req = 0; req < kRequests; ++req) {
            holder->insert(req, makeOp());
            holder->insert(req, makeOp());  // replaced while the other thread reports
            inserted.store(req + 1);
        }
    });
    for (int req = 0; req < kRequests; ++req) {
        while (inserted.load() <= req) {
            std::this_thread::yield();
        }
        holder->notifyRequestDone(req);
        holder->notifyRequestDone(req + kRequests);  // never inserted
    }
    producer.join();
    EXPECT_EQ(recpower::releases().size(), 2u * kRequests);  // every lock, by then
    EXPECT_EQ(recpower::badReleases(), 0);
}

// Out of threads (RLIMIT_NPROC in a child; root is exempt, so the child drops it first), a
// timed, traced operator still holds its lock, releases it, and says its timer did not start.
TEST_F(OperatorTest, TimedOperatorWorksWhenItsTimerCannotStart) {
    setTraceAndLogLevel(true, 1);
    PerfOperatorImp(kCmds, 0, "loader");  // handle 1, cookie 0: the client is loaded now
    auto child = [] {
        const rlimit none{0, 0};
        if ((geteuid() == 0 && setuid(65534) != 0) || setrlimit(RLIMIT_NPROC, &none) != 0) {
            _exit(2);
        }
        try {
            std::thread([] {}).join();
            _exit(3);  // threads still start: the test would prove nothing
        } catch (const std::system_error&) {
        }
        LogCapture log;
        bool alive = false;
        {
            PerfOperatorImp op(kCmds, 500, "no threads");
            alive = op.isAlive();
        }
        const bool logged = coretest::countLog(log.take(), 'E', "Cam3PerfCtrl",
                                               "traceTimeoutCb(1) timer could not start") == 1;
        _exit(alive && logged && recpower::releases() == std::vector<int>{1, 2} ? 0 : 1);
    };
    EXPECT_EXIT(child(), testing::ExitedWithCode(0), "");
}
