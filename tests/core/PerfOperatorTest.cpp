// The perf operator against the recording power-service client.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <set>
#include <thread>

#include "CoreTestSupport.h"
#include "PerfCtrlHelper.h"
#include "PerfOperatorImp.h"
#include "doubles/RecordingPowerClient.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;
using coretest::TraceEvent;

namespace {

const std::vector<int> kCmds = {0x400000, 1, 0x400100, 2};

class PerfOperatorTest : public testing::Test {
  protected:
    void SetUp() override {
        qvncam::host::clearAllProperties();
        ASSERT_TRUE(recpower::available()) << "recording client not on LD_LIBRARY_PATH";
        recpower::reset();
    }
};

int handleOf(size_t acquireIndex) {
    return recpower::acquires().at(acquireIndex).result;
}

}  // namespace

TEST_F(PerfOperatorTest, ForwardsListDurationAndIntCount) {
    const std::vector<std::vector<int>> lists = {{}, {0x400000, 7}, {0x400000, 7, 0x400100}};
    for (const auto& list : lists) {
        recpower::reset();
        PerfOperatorImp op(list, 250, "fwd");
        auto acq = recpower::acquires();
        ASSERT_EQ(acq.size(), 1u);
        EXPECT_EQ(acq[0].handleIn, 0);
        EXPECT_EQ(acq[0].duration, 250);
        EXPECT_EQ(acq[0].list, list);  // the count is of ints, odd or not
        EXPECT_EQ(op.getTimeoutInMilli(), 250);
    }
}

struct StateRow {
    const char* name;
    RecPowerMode mode;
    int timeout;
    bool alive;          // right after construction
    bool detaches;       // result of detach()
    bool failedLogged;   // "Failed to allocate handle!"
    int releasesOnExit;  // perf_lock_rel calls made by exit()
    bool aliveAfterExit;
    int timeoutAfterExit;
};

void PrintTo(const StateRow& row, std::ostream* os) {
    *os << row.name;
}

class PerfOperatorStateTest : public PerfOperatorTest,
                              public testing::WithParamInterface<StateRow> {};

TEST_P(PerfOperatorStateTest, FollowsTheLifecycle) {
    const StateRow& row = GetParam();
    recpower::setMode(row.mode);
    testing::internal::CaptureStderr();
    PerfOperatorImp op(kCmds, row.timeout, "state");
    const std::string err = testing::internal::GetCapturedStderr();

    EXPECT_EQ(coretest::countLog(err, 'E', "Cam3PerfCtrl", "Failed to allocate handle!"),
              row.failedLogged ? 1 : 0)
        << err;
    EXPECT_EQ(op.isAlive(), row.alive);
    EXPECT_EQ(op.detach(), row.detaches);
    EXPECT_TRUE(op.exit());
    EXPECT_EQ(static_cast<int>(recpower::releases().size()), row.releasesOnExit);
    EXPECT_EQ(op.isAlive(), row.aliveAfterExit);
    EXPECT_EQ(op.getTimeoutInMilli(), row.timeoutAfterExit);
    EXPECT_TRUE(op.exit());  // a second exit changes nothing
    EXPECT_EQ(static_cast<int>(recpower::releases().size()), row.releasesOnExit);
    EXPECT_EQ(recpower::badReleases(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    States, PerfOperatorStateTest,
    testing::Values(
        // name, mode, timeout, alive, detaches, failed, releases, aliveAfter, timeoutAfter
        StateRow{"HeldNoExpiry", RECPOWER_GRANT_ALL, 0, true, false, false, 1, false, -1},
        // detached: exit leaves the lock to the service
        StateRow{"HeldTimedDetached", RECPOWER_GRANT_ALL, 60000, true, true, false, 0, true, 60000},
        StateRow{"FailedTimed", RECPOWER_REFUSE_ALL, 60000, false, false, true, 0, false, 60000},
        StateRow{"FailedNoExpiry", RECPOWER_REFUSE_ALL, 0, false, false, true, 0, false, 0}),
    [](const testing::TestParamInfo<StateRow>& info) { return info.param.name; });

TEST_F(PerfOperatorTest, ReleasedOperatorCannotBeDetached) {
    PerfOperatorImp op(kCmds, 60000, "released");
    EXPECT_TRUE(op.exit());
    EXPECT_FALSE(op.detach());
    EXPECT_EQ(recpower::releasesOf(handleOf(0)), 1);
}

TEST_F(PerfOperatorTest, AliveFollowsTheClock) {
    const int timeoutMs = 100;
    for (bool detached : {false, true}) {
        recpower::reset();
        const auto start = std::chrono::steady_clock::now();
        PerfOperatorImp op(kCmds, timeoutMs, "clock");
        if (detached) {
            ASSERT_TRUE(op.detach());
        }
        const bool aliveEarly = op.isAlive();
        if (std::chrono::steady_clock::now() - start < std::chrono::milliseconds(timeoutMs / 2)) {
            EXPECT_TRUE(aliveEarly);
        }
        std::this_thread::sleep_until(start + std::chrono::milliseconds(timeoutMs + 100));
        EXPECT_FALSE(op.isAlive());
        // Expiry is the service's business: nothing was released on the way.
        EXPECT_TRUE(recpower::releases().empty());
        EXPECT_EQ(op.getTimeoutInMilli(), timeoutMs);
        op.exit();
        EXPECT_EQ(recpower::releasesOf(handleOf(0)), detached ? 0 : 1);
    }
}

struct ExtraRow {
    const char* name;
    RecPowerMode mode;
    bool result;
    bool aliveAfter;
    int releasesOnExit;
};

void PrintTo(const ExtraRow& row, std::ostream* os) {
    *os << row.name;
}

class PerfOperatorExtraTest : public PerfOperatorTest,
                              public testing::WithParamInterface<ExtraRow> {};

TEST_P(PerfOperatorExtraTest, ReissuesWithTheHeldHandle) {
    const ExtraRow& row = GetParam();
    recpower::setMode(row.mode);
    PerfOperatorImp op(kCmds, 500, "extra");
    const int held = handleOf(0);
    ASSERT_GE(held, 1);

    const std::vector<int> more = {0x400200, 3};
    testing::internal::CaptureStderr();
    EXPECT_EQ(op.perform_extra(more), row.result);
    const std::string err = testing::internal::GetCapturedStderr();

    auto acq = recpower::acquires();
    ASSERT_EQ(acq.size(), 2u);
    EXPECT_EQ(acq[1].handleIn, held);
    EXPECT_EQ(acq[1].duration, 500);
    EXPECT_EQ(acq[1].list, more);
    EXPECT_EQ(coretest::countLog(err, 'E', "Cam3PerfCtrl", "Failed to allocate handle!"),
              row.result ? 0 : 1)
        << err;
    EXPECT_EQ(op.isAlive(), row.aliveAfter);
    op.exit();
    EXPECT_EQ(static_cast<int>(recpower::releases().size()), row.releasesOnExit);
}

INSTANTIATE_TEST_SUITE_P(
    Reissue, PerfOperatorExtraTest,
    testing::Values(ExtraRow{"Granted", RECPOWER_GRANT_ALL, true, true, 1},
                    ExtraRow{"Refused", RECPOWER_REFUSE_EVERY_OTHER, false, false, 0}),
    [](const testing::TestParamInfo<ExtraRow>& info) { return info.param.name; });

// However an operator ends, a held, non-detached lock is released exactly once.
struct Ending {
    const char* name;
    std::function<void(std::shared_ptr<PerfOperator>)> end;
};

void PrintTo(const Ending& ending, std::ostream* os) {
    *os << ending.name;
}

class PerfOperatorEndingTest : public PerfOperatorTest,
                               public testing::WithParamInterface<std::tuple<Ending, int>> {};

TEST_P(PerfOperatorEndingTest, ReleasesExactlyOnce) {
    const Ending& ending = std::get<0>(GetParam());
    const int timeout = std::get<1>(GetParam());
    ending.end(std::make_shared<PerfOperatorImp>(kCmds, timeout, "ending"));
    const int h = handleOf(0);
    EXPECT_EQ(recpower::releasesOf(h), 1);
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
}

const Ending kEndings[] = {
    {"Exit", [](std::shared_ptr<PerfOperator> op) { op->exit(); }},
    {"Destruction", [](std::shared_ptr<PerfOperator> op) { op.reset(); }},
    {"ExitTwiceThenDestruction",
     [](std::shared_ptr<PerfOperator> op) {
         op->exit();
         op->exit();
     }},
    {"PhaseHolderExit",
     [](std::shared_ptr<PerfOperator> op) {
         auto holder = std::make_shared<PerfOperatorHolderImp>();
         holder->push_back(std::move(op));
         holder->exit();
         EXPECT_EQ(recpower::releases().size(), 1u);
     }},
    {"PhaseHolderDrop",
     [](std::shared_ptr<PerfOperator> op) {
         auto holder = std::make_shared<PerfOperatorHolderImp>();
         holder->push_back(op);
         holder->setCustomHolder(std::move(op));
         holder->exit();
         EXPECT_TRUE(recpower::releases().empty());  // still the custom operator
     }},
    {"InflightDone",
     [](std::shared_ptr<PerfOperator> op) {
         auto holder = std::make_shared<InflightOperatorHolderImp>();
         holder->insert(7, std::move(op));
         holder->notifyRequestDone(7);
         EXPECT_EQ(recpower::releases().size(), 1u);
         holder->notifyRequestDone(7);
     }},
    {"InflightExit",
     [](std::shared_ptr<PerfOperator> op) {
         auto holder = std::make_shared<InflightOperatorHolderImp>();
         holder->insert(7, std::move(op));
         holder->exit();
         EXPECT_EQ(recpower::releases().size(), 1u);
     }},
    {"InflightDrop",
     [](std::shared_ptr<PerfOperator> op) {
         auto holder = std::make_shared<InflightOperatorHolderImp>();
         holder->insert(7, std::move(op));
     }},
    {"SharedOwnerOutlivesHolder",
     [](std::shared_ptr<PerfOperator> op) {
         auto holder = std::make_shared<PerfOperatorHolderImp>();
         holder->push_back(op);
         holder.reset();
         EXPECT_TRUE(recpower::releases().empty());
         EXPECT_TRUE(op->isAlive());
     }},
};

INSTANTIATE_TEST_SUITE_P(Endings, PerfOperatorEndingTest,
                         testing::Combine(testing::ValuesIn(kEndings), testing::Values(0, 60000)),
                         [](const testing::TestParamInfo<std::tuple<Ending, int>>& info) {
                             return std::string(std::get<0>(info.param).name) +
                                    (std::get<1>(info.param) == 0 ? "_NoExpiry" : "_Timed");
                         });

TEST_F(PerfOperatorTest, DetachedLockIsNeverReleasedByTheOperator) {
    auto op = std::make_shared<PerfOperatorImp>(kCmds, 60000, "detached");
    ASSERT_TRUE(op->detach());
    auto holder = std::make_shared<InflightOperatorHolderImp>();
    holder->insert(1, op);
    op.reset();
    holder.reset();
    EXPECT_TRUE(recpower::releases().empty());
    EXPECT_EQ(recpower::live().size(), 1u);
}

// Trace slices and cookies.

// Each test process writes its slices to a file of its own, set before any thread runs.
class PerfOperatorTraceTest : public PerfOperatorTest {
  protected:
    void SetUp() override {
        PerfOperatorTest::SetUp();
        mPath = testing::TempDir() + "qvncam_core_trace_" + std::to_string(getpid());
        std::remove(mPath.c_str());
        ASSERT_EQ(setenv("QVNCAM_TRACE_FILE", mPath.c_str(), 1), 0);
    }
    void TearDown() override { std::remove(mPath.c_str()); }

    std::string mPath;
};

TEST_F(PerfOperatorTraceTest, LevelZeroDrawsNoCookieAndTracesNothing) {
    coretest::setCameraTrace(true);
    {
        PerfOperatorImp timed(kCmds, 30, "quiet");
        PerfOperatorImp forever(kCmds, 0, "quiet");
    }
    EXPECT_TRUE(coretest::traceEvents().empty());

    coretest::setPerfLogLevel(1);
    { PerfOperatorImp op(kCmds, 0, "loud"); }
    const std::vector<TraceEvent> expected = {{'S', "Cam3PerfCtrl:loud", 0},
                                              {'F', "Cam3PerfCtrl:loud", 0}};
    EXPECT_EQ(coretest::traceEvents(), expected);
}

TEST_F(PerfOperatorTraceTest, LevelOneTracesEachOperatorWithItsOwnCookie) {
    coretest::setCameraTrace(true);
    coretest::setPerfLogLevel(1);
    PerfOperatorImp first(kCmds, 0, "alpha");
    {
        PerfOperatorImp second(kCmds, 0, nullptr);
        second.exit();
    }
    first.exit();
    const std::vector<TraceEvent> expected = {
        {'S', "Cam3PerfCtrl:alpha", 0},
        {'S', "Cam3PerfCtrl:_null_user_name_", 1},
        {'F', "Cam3PerfCtrl:_null_user_name_", 1},
        {'F', "Cam3PerfCtrl:alpha", 0},
    };
    EXPECT_EQ(coretest::traceEvents(), expected);
}

TEST_F(PerfOperatorTraceTest, CookiesAreDrawnWithTheTraceTagOff) {
    coretest::setPerfLogLevel(1);
    coretest::setCameraTrace(false);
    { PerfOperatorImp op(kCmds, 0, "untraced"); }
    EXPECT_TRUE(coretest::traceEvents().empty());
    coretest::setCameraTrace(true);
    { PerfOperatorImp op(kCmds, 0, "traced"); }
    const std::vector<TraceEvent> expected = {{'S', "Cam3PerfCtrl:traced", 1},
                                              {'F', "Cam3PerfCtrl:traced", 1}};
    EXPECT_EQ(coretest::traceEvents(), expected);
}

TEST_F(PerfOperatorTraceTest, TimerClosesTheSliceWithoutReleasingTheLock) {
    coretest::setCameraTrace(true);
    coretest::setPerfLogLevel(1);
    auto op = std::make_unique<PerfOperatorImp>(kCmds, 30, "timed");
    const TraceEvent begin{'S', "Cam3PerfCtrl:timed", 0};
    const TraceEvent end{'F', "Cam3PerfCtrl:timed", 0};
    ASSERT_TRUE(coretest::waitFor([&] { return coretest::traceEvents().size() >= 2; }));
    EXPECT_EQ(coretest::traceEvents(), (std::vector<TraceEvent>{begin, end}));
    EXPECT_TRUE(recpower::releases().empty());
    EXPECT_FALSE(op->isAlive());

    // exit still gives the lock back and ends the slice once more
    op.reset();
    EXPECT_EQ(recpower::releases().size(), 1u);
    EXPECT_EQ(coretest::traceEvents(), (std::vector<TraceEvent>{begin, end, end}));
}

TEST_F(PerfOperatorTraceTest, ConcurrentOperatorsGetDistinctCookies) {
    coretest::setCameraTrace(true);
    coretest::setPerfLogLevel(1);
    constexpr int kThreads = 4;
    constexpr int kPerThread = 25;
    std::atomic<bool> go{false};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&go] {
            while (!go.load(std::memory_order_acquire)) {
                std::this_thread::yield();
            }
            for (int i = 0; i < kPerThread; ++i) {
                PerfOperatorImp op(kCmds, 0, "race");
            }
        });
    }
    go.store(true, std::memory_order_release);
    for (auto& t : threads) {
        t.join();
    }
    std::set<int> cookies;
    for (const auto& e : coretest::traceEvents()) {
        if (e.kind == 'S') {
            cookies.insert(e.cookie);
        }
    }
    EXPECT_EQ(cookies.size(), static_cast<size_t>(kThreads * kPerThread));
    EXPECT_EQ(*cookies.begin(), 0);
    EXPECT_EQ(*cookies.rbegin(), kThreads * kPerThread - 1);
    EXPECT_EQ(recpower::releases().size(), static_cast<size_t>(kThreads * kPerThread));
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
}

// Debug listing.

TEST_F(PerfOperatorTest, DebugListingNamesEachResourceAtLevelOne) {
    ASSERT_FALSE(PerfCtrlHelper::PowerEnumToStringMap.empty());
    const auto& known = *PerfCtrlHelper::PowerEnumToStringMap.begin();
    int unknown = 0x7fffff00;
    while (PerfCtrlHelper::PowerEnumToStringMap.count(unknown) != 0) {
        unknown -= 0x100;
    }
    coretest::enableDebugLog();

    testing::internal::CaptureStderr();
    { PerfOperatorImp quiet({known.first, 7, unknown, 9}, 0, "list"); }
    coretest::setPerfLogLevel(1);
    { PerfOperatorImp op({known.first, 7, unknown, 9}, 0, "list"); }
    const std::string err = testing::internal::GetCapturedStderr();

    EXPECT_EQ(coretest::countLog(err, 'D', "Cam3PerfCtrl", "mHandle="), 1) << err;
    EXPECT_EQ(coretest::countLog(err, 'D', "Cam3PerfCtrl", "mHandle=2\n"), 1) << err;
    EXPECT_EQ(
        coretest::countLog(err, 'D', "Cam3PerfCtrl", "cookie=0 key=" + known.second + " value=7\n"),
        1)
        << err;
    EXPECT_EQ(coretest::countLog(err, 'D', "Cam3PerfCtrl", "cookie=0 key=null value=9\n"), 1)
        << err;
}
