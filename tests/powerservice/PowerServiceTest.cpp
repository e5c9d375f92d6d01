// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "QvnPerfService.h"
#include "qvncam/platform/VirtualClock.h"

namespace {

using testing::HasSubstr;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
constexpr int kUnknownId = 0x01448300;

int res(const char* name) {
    int id = kUnknownId;
    qvnperf_resource_id(name, &id);
    return id;
}
const int kCpu0 = res("PERF_RES_CPUFREQ_MIN_CLUSTER_0");

int acq(int handle, int duration, std::vector<int> list) {
    return perf_lock_acq(handle, duration, list.data(), static_cast<int>(list.size()));
}

int effective(int id) {
    int v = -12345;
    return qvnperf_get_effective_value(id, &v) ? v : -12345;
}

// granted, re-issued, released, expired, released after expiry, refused, bad releases, live
std::string counters() {
    QvnPerfCounters c{};
    qvnperf_get_counters(&c);
    std::string out;
    for (uint64_t n : {c.granted, c.reissued, c.released, c.expired, c.released_after_expiry,
                       c.refused, c.bad_releases, c.live})
        out += (out.empty() ? "" : " ") + std::to_string(n);
    return out;
}

class PowerService : public ::testing::Test {
    void SetUp() override {
        qvnperf_reset();
        qvnperf_set_warnings(1);
    }
};

TEST_F(PowerService, MalformedRequestsAreRefusedWithAWarningAndLeaveTheLockAlone) {
    const int live = acq(0, 0, {kCpu0, 1000});
    std::vector<int> big(QVNPERF_MAX_ARGS + 2, 0);
    const struct {
        const char* what;
        int duration, numArgs;
        int* list;
    } cases[] = {{"negative count", 0, -2, big.data()},
                 {"odd count", 0, 3, big.data()},
                 {"count beyond", 0, QVNPERF_MAX_ARGS + 2, big.data()},
                 {"null list", 0, 2, nullptr},
                 {"negative duration", -1, 2, big.data()}};
    CaptureStderr();
    for (const auto& c : cases) {
        for (int handle : {0, live})
            EXPECT_EQ(perf_lock_acq(handle, c.duration, c.list, c.numArgs), 0) << c.what;
    }
    const std::string err = GetCapturedStderr();
    EXPECT_THAT(err, testing::MatchesRegex(
                         "(W/QvnPerfService\\( *[0-9]+\\): [^\n]* refused: [^\n]*\n){10}"));
    for (const auto& c : cases)
        EXPECT_THAT(err, HasSubstr(std::string(") refused: ") + c.what));
    EXPECT_EQ(counters(), "1 0 0 0 0 10 0 1");
    // The largest request is fine; an empty one makes a live lock holding nothing.
    EXPECT_GE(perf_lock_acq(0, 0, big.data(), QVNPERF_MAX_ARGS), 1);
    EXPECT_GE(perf_lock_acq(0, 0, nullptr, 0), 1);
    EXPECT_EQ(qvnperf_get_locks(nullptr, nullptr), 3);
    EXPECT_EQ(qvnperf_get_effective(nullptr, 0), 2);  // resources 0 and kCpu0
}

TEST_F(PowerService, ReissueLaysPairsOnTopRestartsTheDurationAndKeepsTheHandle) {
    const int b = res("PERF_RES_GPU_FW_IDLE");
    const int h = acq(0, 60000, {kCpu0, 1, b, 2});
    ASSERT_EQ(acq(h, 0, {b, 5, kUnknownId, 3, b, 6}), h);
    int64_t left = 0;
    auto keepTimeLeft = [](const QvnPerfLockInfo* l, void* out) {
        *static_cast<int64_t*>(out) = l->time_left_ms;
    };
    qvnperf_get_locks(keepTimeLeft, &left);
    EXPECT_EQ(left, -1) << "the new duration (0) replaces the old one";
    EXPECT_EQ(qvnperf_get_effective(nullptr, 0), 3);
    EXPECT_EQ((std::vector<int>{effective(kCpu0), effective(b), effective(kUnknownId)}),
              (std::vector<int>{1, 6, 3}));
    // An unknown handle gets a new lock; handles are never reused, not even after a reset.
    std::set<int> handles{h, acq(h + 100, 0, {kCpu0, 9})};
    EXPECT_EQ(handles.count(h + 100), 0u);
    EXPECT_EQ(counters(), "2 1 0 0 0 0 0 2");
    qvnperf_reset();
    for (int i = 0; i < 5; ++i)
        EXPECT_TRUE(handles.insert(acq(0, 0, {})).second);
}

TEST_F(PowerService, LocksExpireByTheClockAndBadReleasesAreCounted) {
    qvncam::host::useVirtualClock(7000000);
    acq(0, 600000, {kCpu0, 500});
    const int brief = acq(0, 20, {kCpu0, 900});
    qvncam::host::advanceClockBy(19999);
    EXPECT_EQ(effective(kCpu0), 900);
    qvncam::host::advanceClockBy(25000);  // noticed late, dated when it was due
    EXPECT_EQ(effective(kCpu0), 500);
    std::vector<std::pair<int, int64_t>> ev;  // kind, time
    qvnperf_read_events(
        0,
        [](const QvnPerfEvent* e, void* ev) {
            static_cast<std::vector<std::pair<int, int64_t>>*>(ev)->push_back(
                {e->kind, e->time_us});
        },
        &ev);
    ASSERT_EQ(ev.size(), 3u);
    EXPECT_EQ(ev[2].first, QVNPERF_EV_EXPIRED);
    EXPECT_EQ(ev[2].second, ev[1].second + 20000) << "dated when the duration ran out";
    // An expired handle re-issued is a new lock; releasing the expired one is fine, once.
    EXPECT_NE(acq(brief, 0, {kCpu0, 1}), brief);
    EXPECT_EQ(perf_lock_rel(brief), 0);
    CaptureStderr();
    for (int handle : {brief, 0, -1})
        EXPECT_EQ(perf_lock_rel(handle), -1) << handle;
    const std::string err = GetCapturedStderr();
    EXPECT_THAT(
        err, HasSubstr("perf_lock_rel(" + std::to_string(brief) + ") ignored: already released\n"));
    EXPECT_THAT(err, HasSubstr("perf_lock_rel(-1) ignored: unknown handle\n"));
    EXPECT_EQ(counters(), "3 0 0 1 1 0 3 2");
}

TEST_F(PowerService, EffectiveValueFollowsTheResourceKind) {
    const struct {
        const char* name;
        int kind, older, newer, expected;
    } cases[] = {
        {"PERF_RES_CPUFREQ_MIN_CLUSTER_0", QVNPERF_KIND_FLOOR, 1000, 800, 1000},
        {"PERF_RES_SCHED_BOOST_VALUE_TA", QVNPERF_KIND_FLOOR, 10, 40, 40},
        {"PERF_RES_CPUFREQ_MAX_CLUSTER_0", QVNPERF_KIND_CAP, 1500, 2000, 1500},
        {"PERF_RES_SCHED_UCLAMP_MAX_TA", QVNPERF_KIND_CAP, 900, 300, 300},
        {"PERF_RES_DRAM_CM_MGR_CAM_ENABLE", QVNPERF_KIND_LATEST, 1, 0, 0},
        {"PERF_RES_FPS_FBT_UCLAMP_LIMIT_ENABLE", QVNPERF_KIND_LATEST, 0, 1, 1},
        {"an id outside the vocabulary", QVNPERF_KIND_LATEST, 4, 2, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const int id = res(c.name);
        EXPECT_EQ(qvnperf_resource_kind(id), c.kind);
        const int older = acq(0, 0, {id, c.older}), newer = acq(0, 0, {id, c.newer});
        EXPECT_EQ(effective(id), c.expected);
        acq(older, 0, {});  // re-issuing makes the older lock the most recent one
        EXPECT_EQ(effective(id), c.kind == QVNPERF_KIND_LATEST ? c.older : c.expected);
        perf_lock_rel(older);
        EXPECT_EQ(effective(id), c.newer);
        perf_lock_rel(newer);
        EXPECT_FALSE(qvnperf_get_effective_value(id, nullptr));
    }
}

// The child holds a lock without expiry, a timed one and, in the second mode, releases the
// first from a static destructor: only the first, still held at exit, is reported.
TEST_F(PowerService, LeaksAreReportedAtProcessExitAfterStaticDestructors) {
    const std::pair<std::string, const char*> cases[] = {
        {"leak",
         "W/QvnPerfService\\( *[0-9]+\\): leaked lock 1 \\(.*\\): "
         "PERF_RES_CPUFREQ_MIN_CLUSTER_0=1800000 0x01448300=7\n"},
        {"released-at-exit", ""}};
    for (const auto& [mode, report] : cases) {
        FILE* p = popen((QVNPERF_LEAK_CHILD " " + mode + " 2>&1").c_str(), "r");
        ASSERT_NE(p, nullptr);
        char out[1024] = {};
        out[std::fread(out, 1, sizeof out - 1, p)] = 0;
        EXPECT_EQ(pclose(p), 0) << out;
        EXPECT_THAT(std::string(out), testing::MatchesRegex(report));
    }
}

// A handle given twice would leave the counters unbalanced or count a bad release.
// Locks of hundreds of resources: the log drops its oldest events once their pairs fill
// the byte budget, long before it holds many events, and keeps the newest.
TEST_F(PowerService, EventLogIsBoundedByBytesNotByCount) {
    std::vector<int> wide;
    for (int i = 0; i < QVNPERF_MAX_ARGS / 2; ++i)
        wide.insert(wide.end(), {kCpu0, i});
    const size_t perCycle = (QVNPERF_MAX_ARGS / 2 + 2) * sizeof(QvnPerfPair);
    const int cycles = static_cast<int>(2 * QVNPERF_EVENT_LOG_BYTES / perCycle);
    for (int i = 0; i < cycles; ++i)
        perf_lock_rel(acq(0, 0, wide));

    struct Retained {
        size_t pairBytes = 0;
        uint64_t last = 0;
    } kept;
    qvnperf_read_events(
        0,
        [](const QvnPerfEvent* e, void* ctx) {
            auto* k = static_cast<Retained*>(ctx);
            k->pairBytes += (e->num_pairs + e->num_lock_pairs) * sizeof(QvnPerfPair);
            k->last = e->seq;
        },
        &kept);
    QvnPerfCounters c{};
    qvnperf_get_counters(&c);
    EXPECT_GT(c.events_dropped, 0u);
    EXPECT_LE(kept.pairBytes, QVNPERF_EVENT_LOG_BYTES);
    EXPECT_GT(kept.pairBytes, QVNPERF_EVENT_LOG_BYTES / 2);
    EXPECT_EQ(kept.last, uint64_t{2} * cycles);
}

TEST_F(PowerService, ConcurrentClientsKeepTheCountersConsistent) {
    constexpr int kThreads = 4, kRounds = 300;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([t] {
            uint64_t seen = 0;
            for (int i = 0; i < kRounds; ++i) {
                // Some locks last 1 ms, so re-issues race with expiry and may make new locks.
                const int h = acq(0, i % 3 == 0 ? 1 : 0, {kCpu0, i});
                EXPECT_GE(h, 1);
                qvnperf_get_effective(nullptr, 0);
                seen = qvnperf_read_events(seen, nullptr, nullptr);
                perf_lock_rel(acq(h, 0, {kUnknownId, t}));
            }
        });
    }
    for (auto& thread : threads)
        thread.join();
    QvnPerfCounters c{};
    qvnperf_get_counters(&c);
    EXPECT_EQ(c.granted + c.reissued, uint64_t{2 * kThreads * kRounds});
    EXPECT_EQ(c.live, 0u);
    EXPECT_EQ(c.granted, c.released + c.expired);
    EXPECT_EQ(c.bad_releases, 0u);
}

}  // namespace
