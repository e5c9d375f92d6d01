// The recording power-service client is on the search path.

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "CoreTestSupport.h"
#include "DlCallCounter.h"
#include "PerfCtrlHelper.h"

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

TEST(PowerClientLoader, LoadsOnceAndHandsOutTheCachedEntries) {
    int (*acq)(int, int, int*, int) = nullptr;
    int (*rel)(int) = nullptr;
    testing::internal::CaptureStderr();
    ASSERT_TRUE(PerfCtrlHelper::loadPowerHalAPI(acq, rel));

    void* lib = dlopen("libqvnperf_client_vendor.so", RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(lib, nullptr);
    EXPECT_EQ(reinterpret_cast<void*>(acq), dlsym(lib, "perf_lock_acq"));
    EXPECT_EQ(reinterpret_cast<void*>(rel), dlsym(lib, "perf_lock_rel"));
    dlclose(lib);

    int (*acq2)(int, int, int*, int) = nullptr;
    int (*rel2)(int) = nullptr;
    dlcount::reset();
    EXPECT_TRUE(PerfCtrlHelper::loadPowerHalAPI(acq2, rel2));
    const std::string err = testing::internal::GetCapturedStderr();
    EXPECT_EQ(acq2, acq);
    EXPECT_EQ(rel2, rel);
    EXPECT_EQ(dlcount::opens("libqvnperf_client_vendor.so"), 0);
    EXPECT_EQ(dlcount::lookups("perf_lock_acq"), 0);
    EXPECT_EQ(dlcount::lookups("perf_lock_rel"), 0);
    EXPECT_EQ(coretest::countOf(err, "PerfCtrlHelper"), 0) << err;
}
