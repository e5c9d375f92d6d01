// SPDX-License-Identifier: Apache-2.0
// What only a host shows of the perf operator: its trace slices, read from the host back
// end's trace file, and its expiry on the virtual clock.

#include <gtest/gtest.h>

#include <cstdio>

#include "CoreTestSupport.h"
#include "OperatorFixture.h"
#include "common/DebugLog.h"
#include "common/ReadText.h"
#include "qvncam/platform/VirtualClock.h"

using namespace optest;

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
