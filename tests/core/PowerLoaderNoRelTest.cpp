// A power-service client without the release entry.

#include <dlfcn.h>
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

TEST(PowerClientWithoutRelease, EveryCallRepeatsAllStepsAndClosesTheLibrary) {
    int (*acq)(int, int, int*, int) = sentinelAcq;
    int (*rel)(int) = sentinelRel;
    dlcount::reset();
    testing::internal::CaptureStderr();
    EXPECT_FALSE(PerfCtrlHelper::loadPowerHalAPI(acq, rel));
    EXPECT_FALSE(PerfCtrlHelper::loadPowerHalAPI(acq, rel));
    const std::string err = testing::internal::GetCapturedStderr();

    EXPECT_EQ(acq, &sentinelAcq);
    EXPECT_EQ(rel, &sentinelRel);
    EXPECT_EQ(coretest::countLog(err, 'W', "PerfCtrlHelper", "perfLockRel error: "), 2) << err;
    EXPECT_NE(
        coretest::logLine(err, 'W', "PerfCtrlHelper", "perfLockRel error: ").find("perf_lock_rel"),
        std::string::npos)
        << err;
    EXPECT_EQ(coretest::countOf(err, "perfLockAcq error"), 0) << err;
    // A failed release lookup forgets the acquire entry too, so the retry starts over.
    EXPECT_EQ(dlcount::opens(kClient), 2);
    EXPECT_EQ(dlcount::lookups("perf_lock_acq"), 2);
    EXPECT_EQ(dlcount::lookups("perf_lock_rel"), 2);
    EXPECT_EQ(dlcount::closes(), 2);
    EXPECT_EQ(dlopen(kClient, RTLD_NOW | RTLD_NOLOAD), nullptr) << "library left open";
}

TEST(PowerClientWithoutRelease, OperatorReportsTheFailedLoad) {
    testing::internal::CaptureStderr();
    PerfOperatorImp op({0x400000, 1}, 0, "norel");
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(coretest::countLog(err, 'E', "Cam3PerfCtrl", "Load PowerHal API Failed!"), 1) << err;
    EXPECT_FALSE(op.isAlive());
}
