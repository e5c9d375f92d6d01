// No power-service client on the search path.

#include <gtest/gtest.h>

#include "CoreTestSupport.h"
#include "DlCallCounter.h"
#include "PerfCtrlHelper.h"
#include "PerfOperatorImp.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

namespace {

const char* kClient = "libqvnperf_client_vendor.so";

int sentinelAcq(int, int, int*, int) {
    return 42;
}
int sentinelRel(int) {
    return 42;
}

}  // namespace

TEST(PowerClientMissing, LoaderFailsLeavesOutputsAndRetriesDlopenEachCall) {
    int (*acq)(int, int, int*, int) = sentinelAcq;
    int (*rel)(int) = sentinelRel;
    dlcount::reset();
    testing::internal::CaptureStderr();
    EXPECT_FALSE(PerfCtrlHelper::loadPowerHalAPI(acq, rel));
    EXPECT_FALSE(PerfCtrlHelper::loadPowerHalAPI(acq, rel));
    const std::string err = testing::internal::GetCapturedStderr();

    EXPECT_EQ(acq, &sentinelAcq);
    EXPECT_EQ(rel, &sentinelRel);
    EXPECT_EQ(dlcount::opens(kClient), 2);
    EXPECT_EQ(dlcount::lookups("perf_lock_acq"), 0);
    EXPECT_EQ(coretest::countLog(err, 'W', "PerfCtrlHelper", "dlopen fail: "), 2) << err;
    // The warning carries the loader's own error text.
    EXPECT_NE(coretest::logLine(err, 'W', "PerfCtrlHelper", "dlopen fail: ").find(kClient),
              std::string::npos)
        << err;
}

TEST(PowerClientMissing, OperatorIsUnloadedAndRetriesTheLoadEachTime) {
    dlcount::reset();
    testing::internal::CaptureStderr();
    PerfOperatorImp first({0x400000, 1}, 100, "first");
    PerfOperatorImp second({0x400000, 1}, 0, "second");
    const std::string err = testing::internal::GetCapturedStderr();

    EXPECT_EQ(coretest::countLog(err, 'E', "Cam3PerfCtrl", "Load PowerHal API Failed!"), 2) << err;
    EXPECT_EQ(coretest::countOf(err, "Failed to allocate handle!"), 0) << err;
    EXPECT_EQ(dlcount::opens(kClient), 2);

    EXPECT_FALSE(first.isAlive());
    EXPECT_FALSE(first.detach());
    EXPECT_EQ(first.getTimeoutInMilli(), 100);
    EXPECT_TRUE(first.exit());
    EXPECT_EQ(first.getTimeoutInMilli(), 100);
    EXPECT_FALSE(second.isAlive());
}

TEST(PowerClientMissing, PerformExtraWithoutClientFails) {
    testing::internal::CaptureStderr();
    PerfOperatorImp op({0x400000, 1}, 100, "extra");
    const bool ok = op.perform_extra({0x400000, 2});
    const std::string err = testing::internal::GetCapturedStderr();

    EXPECT_FALSE(ok);
    EXPECT_EQ(coretest::countLog(err, 'E', "Cam3PerfCtrl", "LockAcq is nullptr!"), 1) << err;
    EXPECT_FALSE(op.isAlive());
}
