// Each customisation-library variant, and a complete library that answers nonsense: every
// operation gives its defined result, nothing crashes, and dropping the session ends every
// lock it took.

#include <gtest/gtest.h>

#include <climits>
#include <string>

#include "FaultSession.h"
#include "RecordingPowerClient.h"

namespace {

using namespace faults;

// What the operations that depend on the library give, per variant (FAULT_CUSTOM_VARIANT).
struct Expected {
    const char* variant;
    bool configHolder;  // enterPerfCtrl_ConfigureStream returns a holder
    bool inflight;      // enterPerfCtrl_InflightRequest returns a holder
    bool placement;     // setAffinity succeeds and queryAffinity answers the mask
};
constexpr Expected kVariants[] = {
    {"none", false, false, false},
    {"full", true, true, true},
    {"query only", false, false, true},
    {"without runtime entry", false, false, true},
};
constexpr Expected kExpected = kVariants[FAULT_CUSTOM_VARIANT];

void expectAllLocksEnded() {
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
}

// One suite name per variant: the four executables share this source.
#define FAULTS_SUITE_(variant) CustomFault_##variant
#define FAULTS_SUITE(variant) FAULTS_SUITE_(variant)

TEST(FAULTS_SUITE(FAULT_CUSTOM_NAME), VariantGivesDefinedResults) {
    SCOPED_TRACE(kExpected.variant);
    ASSERT_TRUE(recpower::available());
    scriptCustomisation();
    recpower::reset();
    {
        Session s = runSession(Cam3PerfCtrl::getInstance());
        ASSERT_TRUE(s.enter);
        EXPECT_TRUE(s.enter->getPerfOperator()->isAlive());
        EXPECT_EQ(static_cast<bool>(s.config), kExpected.configHolder);
        EXPECT_EQ(static_cast<bool>(s.inflight), kExpected.inflight);
        EXPECT_EQ(s.setAffinity, kExpected.placement);
        EXPECT_EQ(s.queryAffinity, kExpected.placement ? allowedMask() : 0);
        for (const auto& op : s.ops) {
            ASSERT_TRUE(op);
            EXPECT_TRUE(op->isAlive());
        }
    }
    expectAllLocksEnded();
}

#if FAULT_CUSTOM_VARIANT == 1

// A library that answers with unknown names, negative values, thousands of entries, an
// out-of-range duration, overwrites without the operators to lay them on, and illegal masks.
TEST(FAULTS_SUITE(FAULT_CUSTOM_NAME), NonsenseAnswersAreContained) {
    ASSERT_TRUE(recpower::available());
    const customdbl::Api* c = customdbl::api();
    ASSERT_NE(c, nullptr);
    c->reset();
    for (int i = 0; i < 3000; ++i) {
        c->setOutCmd(CUSTOMDBL_ENTER, ("NOT_A_RESOURCE_" + std::to_string(i)).c_str(), i - 1500);
        c->setOutCmd(CUSTOMDBL_RUNTIME, ("NOT_A_RESOURCE_" + std::to_string(i)).c_str(), i);
    }
    c->setOutCmd(CUSTOMDBL_ENTER, "", INT_MIN);
    c->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_CPUFREQ_MIN_CLUSTER_0", -1);
    c->setTimeout(CUSTOMDBL_ENTER, UINT_MAX);
    c->setOutCmd(CUSTOMDBL_CONFIG, "C2PS_FEATURE_CUSTOMIZATION", INT_MIN);
    c->setOutCmd(CUSTOMDBL_CONFIG, "C2PS_SCENARIO", INT_MAX);
    c->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", INT_MIN);
    c->setOverwriteCmd(CUSTOMDBL_OVERWRITE_ENTER, "PERF_RES_CPUFREQ_MIN_CLUSTER_1", 1);
    c->setOverwriteCmd(CUSTOMDBL_OVERWRITE_CONFIG, "PERF_RES_CPUFREQ_MIN_CLUSTER_1", 1);
    recpower::reset();

    Cam3PerfCtrl* ctrl = Cam3PerfCtrl::getInstance();
    {
        auto enter = ctrl->enterPerfCtrl_EnterCamera(0);
        auto config = ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
        ASSERT_TRUE(enter && config);
        // Only the known name survives; the duration arrives as the int it wraps to.
        const auto acquires = recpower::acquires();
        ASSERT_EQ(acquires.size(), 4u);
        EXPECT_EQ(acquires[2].list, (std::vector<int>{0x400000, -1}));
        EXPECT_EQ(acquires[2].duration, -1);
        // Overwrites with no operator to extend: the request still gets its holder.
        auto inflight = ctrl->enterPerfCtrl_InflightRequest(7, nullptr, PerfCtrlSet());
        ASSERT_TRUE(inflight);
        EXPECT_TRUE(inflight->notifyRequestDone(7));
    }
    for (int mask : {0, 256, -2, INT_MIN}) {
        c->setQueryMask(mask);
        EXPECT_FALSE(ctrl->setAffinity()) << mask;
        EXPECT_EQ(ctrl->queryAffinity("faults"), mask);
    }
    expectAllLocksEnded();
}

#endif

}  // namespace
