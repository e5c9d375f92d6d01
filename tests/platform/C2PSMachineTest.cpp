#include <gtest/gtest.h>

#include <cstring>

#include "C2PSMachine.h"
#include "PlatformTestUtil.h"

namespace qvncam {
namespace {

class C2PSMachineTest : public test::PlatformTest {};

TEST_F(C2PSMachineTest, KeepsAndLogsTheLastRecord) {
    host::resetC2PSInit();
    C2PSInitParams p, got;
    EXPECT_FALSE(host::lastC2PSInit(&got));
    std::memset(&p, 0, sizeof(p));
    p.fps = 30;
    p.scenario = 4;
    p.featureCustomization = 3;
    p.disableIneffCpufreq = true;
    p.lmcoreUmRatio = -2;
    p.umMin = 7;
    p.pfPolicy = true;
    setULog(5, 0x1001000, 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(C2PSMachine::init(p), 0);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "D/C2PSMachine(" + test::pidText() +
                  "): init fps=30 scenario=4 featureCustomization=3 disableIneffCpufreq=1 "
                  "lmcoreUmRatio=-2 umMin=7 pfPolicy=1\n");
    std::memset(&got, 0xff, sizeof(got));
    ASSERT_TRUE(host::lastC2PSInit(&got));
    EXPECT_EQ(std::memcmp(&got, &p, sizeof(p)), 0);
    host::resetC2PSInit();
    EXPECT_FALSE(host::lastC2PSInit(&got));
}

}  // namespace
}  // namespace qvncam
