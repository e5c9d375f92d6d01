// The perf operator and its holders against the recording power-service client.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <thread>
#include <tuple>

#include "CoreTestSupport.h"
#include "common/DebugLog.h"
#include "PerfCtrlProperties.h"
#include "PerfOperatorImp.h"
#include "common/ReadText.h"
#include "doubles/RecordingPowerClient.h"
#include "qvncam/platform/VirtualClock.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

namespace {

// A resource the debug listing names, then an id it does not know.
const std::vector<int> kCmds = {0x414000, 7, 0x7fffff00, 9};

class OperatorTest : public testing::Test {
  protected:
    void SetUp() override {
        qvncam::host::clearAllProperties();
        ASSERT_TRUE(recpower::available()) << "recording client not on LD_LIBRARY_PATH";
        recpower::reset();
    }
};

// A held, timed lock; handles count up from 1 in creation order.
std::shared_ptr<PerfOperator> makeOp() {
    return std::make_shared<PerfOperatorImp>(kCmds, 60000, "holder");
}

void setTraceAndLogLevel(bool cameraTrace, int logLevel) {
    qvncam::host::setProperty("debug.atrace.tags.enableflags", cameraTrace ? "0x400" : "0");
    qvncam::host::setProperty(PerfCtrlProperties::kLogLevel.name, std::to_string(logLevel));
}

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
    testing::internal::CaptureStderr();
    auto op = std::make_unique<PerfOperatorImp>(kCmds, row.timeout, "state");
    EXPECT_EQ(op->perform_extra(more), row.reissued);
    const std::string err = testing::internal::GetCapturedStderr();
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

TEST_F(OperatorTest, AliveFollowsTheClockAndExpiryReleasesNothing) {
    qvncam::host::useVirtualClock(1000000);
    for (bool detach : {false, true}) {
        PerfOperatorImp op(kCmds, 100, "clock");
        EXPECT_EQ(detach && op.detach(), detach);  // detaches only in the second round
        qvncam::host::advanceClockBy(99999);
        EXPECT_TRUE(op.isAlive());  // 99.999 ms count as 99
        qvncam::host::advanceClockBy(1);
        EXPECT_FALSE(op.isAlive());
        EXPECT_EQ(op.getTimeoutInMilli(), 100);
        op.exit();
        EXPECT_EQ(op.detach(), detach);  // a released lock cannot be detached
    }
    EXPECT_EQ(recpower::releases(), std::vector<int>{1});
}

TEST_F(OperatorTest, TracesListsAndDrawsCookiesOnlyFromLevelOne) {
    const std::string trace = testing::TempDir() + "qvncam_core_trace_" + std::to_string(getpid());
    std::remove(trace.c_str());
    ASSERT_EQ(setenv("QVNCAM_TRACE_FILE", trace.c_str(), 1), 0);
    enableDebugLog();
    testing::internal::CaptureStderr();
    setTraceAndLogLevel(true, 0);
    PerfOperatorImp(kCmds, 30, "quiet");
    setTraceAndLogLevel(false, 1);
    PerfOperatorImp(kCmds, 0, "untraced");  // cookie 0
    setTraceAndLogLevel(true, 1);
    PerfOperatorImp alpha(kCmds, 0, "alpha");  // cookie 1
    PerfOperatorImp(kCmds, 0, nullptr);        // cookie 2
    qvncam::host::useVirtualClock(1000000);
    PerfOperatorImp timed(kCmds, 30, "timed");  // handle 5, cookie 3; its timer ends the slice
    qvncam::host::advanceClockBy(30000);        // returns once the timer is done
    EXPECT_FALSE(timed.isAlive());
    EXPECT_EQ(recpower::releases(), (std::vector<int>{1, 2, 4}));  // the timer releases nothing
    timed.exit();
    alpha.exit();
    const std::string err = testing::internal::GetCapturedStderr();
    const std::string b = "S|" + std::to_string(getpid()) + "|Cam3PerfCtrl:";  // begin
    const std::string e = "F|" + std::to_string(getpid()) + "|Cam3PerfCtrl:";  // end
    EXPECT_EQ(readText(trace), b + "alpha|1\n" + b + "_null_user_name_|2\n" + e +
                                   "_null_user_name_|2\n" + b + "timed|3\n" + e + "timed|3\n" + e +
                                   "timed|3\n" + e + "alpha|1\n");
    std::remove(trace.c_str());
    auto debug = [&err](const char* m) { return coretest::countLog(err, 'D', "Cam3PerfCtrl", m); };
    EXPECT_EQ(debug("mHandle="), 4) << err;
    EXPECT_EQ(debug("cookie=0 key=PERF_RES_CPUFREQ_PERF_MODE value=7\n"), 1) << err;
    EXPECT_EQ(debug("cookie=0 key=null value=9\n"), 1) << err;
}

// Timers wait on the clock in force: made in any order, they end in the order of their
// deadlines, each when the clock reaches it and not before.
TEST_F(OperatorTest, TraceTimersEndInDeadlineOrderOnTheVirtualClock) {
    const std::string trace = testing::TempDir() + "qvncam_order_" + std::to_string(getpid());
    std::remove(trace.c_str());
    ASSERT_EQ(setenv("QVNCAM_TRACE_FILE", trace.c_str(), 1), 0);
    setTraceAndLogLevel(true, 1);
    qvncam::host::useVirtualClock(5000000);
    std::vector<std::unique_ptr<PerfOperatorImp>> ops;
    for (const char* name : {"c50", "a10", "b30", "d50"})
        ops.push_back(std::make_unique<PerfOperatorImp>(kCmds, std::atoi(name + 1), name));
    ops.clear();  // released: the slices end here, the timers stay
    const std::string released = readText(trace);
    EXPECT_EQ(qvncam::host::pendingClockWaits(), 4u);
    qvncam::host::advanceClockBy(29999);
    EXPECT_EQ(qvncam::host::pendingClockWaits(), 3u);
    qvncam::host::advanceClockBy(40000);
    EXPECT_EQ(qvncam::host::pendingClockWaits(), 0u);
    const std::string e = "F|" + std::to_string(getpid()) + "|Cam3PerfCtrl:";
    EXPECT_EQ(readText(trace).substr(released.size()),
              e + "a10|1\n" + e + "b30|2\n" + e + "c50|0\n" + e + "d50|3\n");
    std::remove(trace.c_str());
}

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
