// SPDX-License-Identifier: Apache-2.0
// The power-service client loader; built once per client variant (POWER_VARIANT: none,
// without the release entry, recording), each with its own suite name (POWER_SUITE).

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "CoreTestSupport.h"
#include "PerfCtrlHelper.h"
#include "PerfOperatorImp.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

namespace {

const char* const kClient = "libqvnperf_client_vendor.so";

// What two loader calls do together.
struct LoaderRow {
    bool loads;
    const char* warning;  // start of the warning each failed call logs ("": any)
    const char* mention;  // the loader's own error text, which the warning carries
    int opens, acqLookups, relLookups;
};

const LoaderRow kRows[] = {
    {false, "dlopen fail: ", "libqvnperf_client_vendor.so: cannot open", 2, 0, 0},
    // a failed release lookup forgets the acquire entry too: the retry starts over
    {false, "perfLockRel error: ", "undefined symbol: perf_lock_rel", 2, 2, 2},
    {true, "", "PerfCtrlHelper", 1, 1, 1},
};

void sentinel() {}
const auto kAcq = reinterpret_cast<PerfOperatorImp::LockAcqFn>(&sentinel);
const auto kRel = reinterpret_cast<PerfOperatorImp::LockRelFn>(&sentinel);

}  // namespace

TEST(POWER_SUITE, LoaderRetriesAfterFailureAndCachesSuccess) {
    const LoaderRow& row = kRows[POWER_VARIANT];
    PerfOperatorImp::LockAcqFn acq[2] = {kAcq, kAcq};
    PerfOperatorImp::LockRelFn rel[2] = {kRel, kRel};
    dlcountReset();
    testing::internal::CaptureStderr();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(PerfCtrlHelper::loadPowerHalAPI(acq[i], rel[i]), row.loads);
    }
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(dlcount(std::string("open:") + kClient), row.opens);
    EXPECT_EQ(dlcount("sym:perf_lock_acq"), row.acqLookups);
    EXPECT_EQ(dlcount("sym:perf_lock_rel"), row.relLookups);
    const int failures = row.loads ? 0 : 2;
    EXPECT_EQ(coretest::countLog(err, 'W', "PerfCtrlHelper"), failures) << err;
    EXPECT_EQ(coretest::countLog(err, 'W', "PerfCtrlHelper", row.warning), failures) << err;
    EXPECT_EQ(coretest::countOf(err, row.mention), failures) << err;

    // A failure closes the library and leaves the outputs untouched; a success writes the
    // client's entries, on the cached call too.
    void* lib = dlopen(kClient, RTLD_NOW | RTLD_NOLOAD);
    EXPECT_EQ(lib != nullptr, row.loads);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(reinterpret_cast<void*>(acq[i]),
                  lib ? dlsym(lib, "perf_lock_acq") : reinterpret_cast<void*>(kAcq));
        EXPECT_EQ(reinterpret_cast<void*>(rel[i]),
                  lib ? dlsym(lib, "perf_lock_rel") : reinterpret_cast<void*>(kRel));
    }
}

#if POWER_VARIANT != 2
TEST(POWER_SUITE, OperatorWithoutClientIsUnloadedAndRetriesEachTime) {
    dlcountReset();
    testing::internal::CaptureStderr();
    PerfOperatorImp first({0x400000, 1}, 0, "first");
    PerfOperatorImp op({0x400000, 1}, 100, "second");
    EXPECT_FALSE(op.perform_extra({0x400000, 2}));
    const std::string err = testing::internal::GetCapturedStderr();

    EXPECT_EQ(dlcount(std::string("open:") + kClient), 2);
    EXPECT_EQ(coretest::countLog(err, 'E', "Cam3PerfCtrl", "Load PowerHal API Failed!"), 2) << err;
    EXPECT_EQ(coretest::countLog(err, 'E', "Cam3PerfCtrl", "LockAcq is nullptr!"), 1) << err;
    EXPECT_EQ(coretest::countLog(err, 'E', "Cam3PerfCtrl"), 3) << err;  // nothing else
    EXPECT_FALSE(op.isAlive());
    EXPECT_FALSE(op.detach());
    EXPECT_TRUE(op.exit());
    EXPECT_EQ(op.getTimeoutInMilli(), 100);  // nothing held, nothing released
}
#endif
