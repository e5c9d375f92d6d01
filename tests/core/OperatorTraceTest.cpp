// The perf operator's trace slices, read from the host back end's trace file.

#include <gtest/gtest.h>

#include <cstdio>
#include <thread>

#include "CoreTestSupport.h"
#include "OperatorFixture.h"
#include "common/DebugLog.h"
#include "common/ReadText.h"

using namespace optest;

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
    PerfOperatorImp alpha(kCmds, 0, "alpha");   // cookie 1
    PerfOperatorImp(kCmds, 0, nullptr);         // cookie 2
    PerfOperatorImp timed(kCmds, 30, "timed");  // handle 5, cookie 3; its timer ends the slice
    for (int i = 0; i < 1000 && coretest::countOf(readText(trace), "timed") < 2; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
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
