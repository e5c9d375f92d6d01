// A power-service client that is missing, lacks an entry, or refuses locks: every operation
// still returns what it promises, nothing crashes, a refused lock is never released and a
// granted one exactly once.

#include <gtest/gtest.h>

#include <set>
#include <vector>

#include "FaultSession.h"
#include "RecordingPowerClient.h"

namespace {

using namespace faults;

#ifdef FAULT_NO_CLIENT

// The client cannot be loaded (missing, or without "perf_lock_rel"): operators exist but
// hold nothing, and the next session tries to load the client again.
// One suite name per client: two executables share this source.
#define FAULTS_SUITE_(client) PowerClientFault_##client
#define FAULTS_SUITE(client) FAULTS_SUITE_(client)

TEST(FAULTS_SUITE(FAULT_NO_CLIENT), UnloadableClientLeavesDeadOperators) {
    for (int round = 0; round < 2; ++round) {
        scriptCustomisation();
        Session s = runSession(Cam3PerfCtrl::getInstance());
        ASSERT_TRUE(s.enter && s.config && s.inflight);
        EXPECT_FALSE(s.enter->getPerfOperator()->isAlive());
        EXPECT_FALSE(s.config->getPerfOperator()->isAlive());
        for (const auto& op : s.ops) {
            ASSERT_TRUE(op);
            EXPECT_FALSE(op->isAlive());
            EXPECT_FALSE(op->detach());
            EXPECT_TRUE(op->exit());
        }
        EXPECT_TRUE(s.enter->exit());
        EXPECT_TRUE(s.inflight->exit());
    }
}

#else

struct RefusalCase {
    RecPowerMode mode;
    const char* name;
};

void PrintTo(const RefusalCase& c, std::ostream* os) {
    *os << c.name;
}

class PowerClientRefusal : public ::testing::TestWithParam<RefusalCase> {};

TEST_P(PowerClientRefusal, RefusedLocksAreNeverReleasedGrantedOnesOnce) {
    ASSERT_TRUE(recpower::available());
    scriptCustomisation();
    recpower::reset();
    recpower::setMode(GetParam().mode);
    {
        Session s = runSession(Cam3PerfCtrl::getInstance());
        ASSERT_TRUE(s.enter && s.config && s.inflight);
        for (const auto& op : s.ops) {
            ASSERT_TRUE(op);
        }
        if (GetParam().mode == RECPOWER_REFUSE_ALL) {
            EXPECT_FALSE(s.enter->getPerfOperator()->isAlive());
            for (const auto& op : s.ops) {
                EXPECT_FALSE(op->isAlive());
            }
        }
    }
    const auto acquires = recpower::acquires();
    ASSERT_FALSE(acquires.empty());
    // A refused re-issue (an in-flight overwrite) replaces the operator's handle with 0, as
    // the lock protocol has it: that lock stays with the service, out of the operator's reach.
    std::set<int> orphaned;
    for (const auto& a : acquires) {
        if (a.handleIn > 0 && a.result == 0) {
            orphaned.insert(a.handleIn);
        }
    }
    int granted = 0;
    for (const auto& a : acquires) {
        if (a.result > 0 && a.handleIn == 0) {
            ++granted;
            EXPECT_EQ(recpower::releasesOf(a.result), orphaned.count(a.result) ? 0 : 1)
                << "handle " << a.result;
        }
    }
    const std::vector<int> live = recpower::live();
    EXPECT_EQ(std::set<int>(live.begin(), live.end()), orphaned);
    if (GetParam().mode == RECPOWER_REFUSE_ALL) {
        EXPECT_EQ(granted, 0);
    } else {
        EXPECT_GT(granted, 0);
    }
    EXPECT_EQ(recpower::badReleases(), 0);
    if (GetParam().mode == RECPOWER_REFUSE_ALL) {
        EXPECT_TRUE(recpower::releases().empty());
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, PowerClientRefusal,
                         ::testing::Values(RefusalCase{RECPOWER_REFUSE_ALL, "RefuseAll"},
                                           RefusalCase{RECPOWER_REFUSE_EVERY_OTHER,
                                                       "RefuseEveryOther"}),
                         [](const auto& info) { return std::string(info.param.name); });

#endif

}  // namespace
