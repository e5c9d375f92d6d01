#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "QvnPerfService.h"

bool operator==(const QvnPerfPair& a, const QvnPerfPair& b) {
    return a.id == b.id && a.value == b.value;
}

void PrintTo(const QvnPerfPair& p, std::ostream* os) {
    *os << std::hex << "0x" << p.id << std::dec << "=" << p.value;
}

namespace {

constexpr int kUnknownId = 0x01448300;

struct Ev {
    int kind, flags, handle, duration;
    int64_t time;
    std::string reason;
    std::vector<QvnPerfPair> pairs, lockPairs;
};

struct Snap {
    int64_t left;
    std::vector<QvnPerfPair> pairs;
};

int acq(int handle, int duration, std::vector<int> list) {
    return perf_lock_acq(handle, duration, list.data(), static_cast<int>(list.size()));
}

int res(const char* name) {
    int id = 0;
    EXPECT_TRUE(qvnperf_resource_id(name, &id)) << name;
    return id;
}

std::vector<Ev> events(uint64_t* cursor) {
    std::vector<Ev> out;
    *cursor = qvnperf_read_events(
        *cursor,
        [](const QvnPerfEvent* e, void* ctx) {
            static_cast<std::vector<Ev>*>(ctx)->push_back(
                {e->kind,
                 e->flags,
                 e->handle,
                 e->duration_ms,
                 e->time_us,
                 e->reason ? e->reason : "",
                 {e->pairs, e->pairs + e->num_pairs},
                 {e->lock_pairs, e->lock_pairs + e->num_lock_pairs}});
        },
        &out);
    return out;
}

std::map<int, Snap> locks() {
    std::map<int, Snap> out;
    qvnperf_get_locks(
        [](const QvnPerfLockInfo* l, void* ctx) {
            (*static_cast<std::map<int, Snap>*>(ctx))[l->handle] = {
                l->time_left_ms, {l->pairs, l->pairs + l->num_pairs}};
        },
        &out);
    return out;
}

QvnPerfCounters counters() {
    QvnPerfCounters c{};
    qvnperf_get_counters(&c);
    return c;
}

int effective(int id) {
    int v = -12345;
    EXPECT_TRUE(qvnperf_get_effective_value(id, &v)) << std::hex << id;
    return v;
}

// Waits for a short lock to run out, without a fixed sleep that a busy machine could beat.
bool waitUntilGone(int handle) {
    for (int i = 0; i < 500; ++i) {
        if (locks().count(handle) == 0) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

class PowerService : public ::testing::Test {
  protected:
    void SetUp() override {
        qvnperf_reset();
        qvnperf_set_warnings(0);
    }
};

TEST_F(PowerService, HandlesArePositiveAndNeverReused) {
    std::set<int> seen;
    for (int round = 0; round < 3; ++round) {
        for (int i = 0; i < 5; ++i) {
            const int h = acq(0, 0, {});
            ASSERT_GE(h, 1);
            EXPECT_TRUE(seen.insert(h).second) << "handle " << h << " reused";
            perf_lock_rel(h);
        }
        qvnperf_reset();
    }
    EXPECT_GE(*seen.begin(), 1);
}

TEST_F(PowerService, MalformedRequestsAreRefusedAndLeaveTheLockAlone) {
    const int cpu0 = res("PERF_RES_CPUFREQ_MIN_CLUSTER_0");
    const int live = acq(0, 0, {cpu0, 1000});
    std::vector<int> big(QVNPERF_MAX_ARGS + 2, 0);
    struct Case {
        const char* what;
        int duration;
        int* list;
        int numArgs;
    } cases[] = {
        {"negative count", 0, big.data(), -2},
        {"odd count", 0, big.data(), 3},
        {"count beyond", 0, big.data(), QVNPERF_MAX_ARGS + 2},
        {"null list", 0, nullptr, 2},
        {"negative duration", -1, big.data(), 2},
    };
    for (const Case& c : cases) {
        for (int handle : {0, live}) {
            uint64_t cursor = qvnperf_read_events(0, nullptr, nullptr);
            qvnperf_set_warnings(1);
            testing::internal::CaptureStderr();
            EXPECT_EQ(perf_lock_acq(handle, c.duration, c.list, c.numArgs), 0) << c.what;
            const std::string err = testing::internal::GetCapturedStderr();
            EXPECT_NE(err.find("W/QvnPerfService("), std::string::npos) << err;
            EXPECT_NE(err.find("refused: " + std::string(c.what)), std::string::npos) << err;
            auto ev = events(&cursor);
            ASSERT_EQ(ev.size(), 1u) << c.what;
            EXPECT_EQ(ev[0].kind, QVNPERF_EV_REFUSED);
            EXPECT_EQ(ev[0].handle, handle);
        }
    }
    EXPECT_EQ(counters().refused, 10u);
    EXPECT_EQ(counters().granted, 1u);
    EXPECT_EQ(locks().at(live).pairs, (std::vector<QvnPerfPair>{{cpu0, 1000}}));

    // The largest request and an empty one are fine; an empty lock is alive and holds nothing.
    EXPECT_GE(perf_lock_acq(0, 0, big.data(), QVNPERF_MAX_ARGS), 1);
    const int empty = perf_lock_acq(0, 0, nullptr, 0);
    ASSERT_GE(empty, 1);
    EXPECT_TRUE(locks().at(empty).pairs.empty());
}

TEST_F(PowerService, ReissueLaysPairsOnTopAndKeepsTheHandle) {
    const int a = res("PERF_RES_CPUFREQ_MIN_CLUSTER_0"), b = res("PERF_RES_GPU_FW_IDLE");
    const int h = acq(0, 60000, {a, 1, b, 2});
    uint64_t cursor = qvnperf_read_events(0, nullptr, nullptr);
    ASSERT_EQ(acq(h, 0, {b, 5, kUnknownId, 3, b, 6}), h);
    const Snap s = locks().at(h);
    EXPECT_EQ(s.pairs, (std::vector<QvnPerfPair>{{a, 1}, {b, 6}, {kUnknownId, 3}}));
    EXPECT_EQ(s.left, -1) << "the new duration (0) replaces the old one";
    auto ev = events(&cursor);
    ASSERT_EQ(ev.size(), 1u);
    EXPECT_EQ(ev[0].kind, QVNPERF_EV_REISSUED);
    EXPECT_EQ(ev[0].pairs.size(), 3u);
    EXPECT_EQ(ev[0].lockPairs, s.pairs);

    // Unknown handles get a new lock rather than an error.
    const int fresh = acq(h + 100, 0, {a, 9});
    EXPECT_NE(fresh, h + 100);
    EXPECT_EQ(locks().at(fresh).pairs.size(), 1u);
    const QvnPerfCounters c = counters();
    EXPECT_EQ(c.granted, 2u);
    EXPECT_EQ(c.reissued, 1u);
}

TEST_F(PowerService, LocksExpireByTheClockAndTheirReleaseIsNotBad) {
    const int a = res("PERF_RES_CPUFREQ_MIN_CLUSTER_0");
    const int lasting = acq(0, 600000, {a, 500});
    const int brief = acq(0, 20, {a, 900});
    EXPECT_GT(locks().at(lasting).left, 590000);
    ASSERT_TRUE(waitUntilGone(brief));
    EXPECT_EQ(effective(a), 500);

    uint64_t cursor = 0;
    auto ev = events(&cursor);
    ASSERT_EQ(ev.size(), 3u);
    EXPECT_EQ(ev[2].kind, QVNPERF_EV_EXPIRED);
    EXPECT_EQ(ev[2].time, ev[1].time + 20000) << "expiry is dated when the duration ran out";
    EXPECT_EQ(ev[2].lockPairs, (std::vector<QvnPerfPair>{{a, 900}}));

    // An expired handle re-issued is a new lock; releasing the expired one is fine, once.
    const int again = acq(brief, 0, {a, 1});
    EXPECT_NE(again, brief);
    EXPECT_EQ(perf_lock_rel(brief), 0);
    EXPECT_EQ(perf_lock_rel(brief), -1);
    const QvnPerfCounters c = counters();
    EXPECT_EQ(c.expired, 1u);
    EXPECT_EQ(c.released_after_expiry, 1u);
    EXPECT_EQ(c.bad_releases, 1u);
    EXPECT_EQ(c.granted, c.released + c.expired + c.live);
}

TEST_F(PowerService, BadReleasesAreCountedWithAReason) {
    const int h = acq(0, 0, {});
    ASSERT_EQ(perf_lock_rel(h), 0);
    struct Case {
        int handle;
        const char* reason;
    } cases[] = {{h, "already released"},
                 {0, "unknown handle"},
                 {-1, "unknown handle"},
                 {h + 1000, "unknown handle"}};
    uint64_t cursor = qvnperf_read_events(0, nullptr, nullptr);
    for (const Case& c : cases) {
        EXPECT_EQ(perf_lock_rel(c.handle), -1);
        auto ev = events(&cursor);
        ASSERT_EQ(ev.size(), 1u);
        EXPECT_EQ(ev[0].kind, QVNPERF_EV_BAD_RELEASE);
        EXPECT_EQ(ev[0].reason, c.reason) << c.handle;
    }
    EXPECT_EQ(counters().bad_releases, 4u);
    EXPECT_EQ(counters().released, 1u);
}

TEST_F(PowerService, EffectiveValueFollowsTheResourceKind) {
    struct Case {
        const char* name;
        int kind;
        int older, newer, expected;
    } cases[] = {
        {"PERF_RES_CPUFREQ_MIN_CLUSTER_0", QVNPERF_KIND_FLOOR, 1000, 800, 1000},
        {"PERF_RES_SCHED_BOOST_VALUE_TA", QVNPERF_KIND_FLOOR, 10, 40, 40},
        {"PERF_RES_CPUFREQ_MAX_CLUSTER_0", QVNPERF_KIND_CAP, 1500, 2000, 1500},
        {"PERF_RES_SCHED_UCLAMP_MAX_TA", QVNPERF_KIND_CAP, 900, 300, 300},
        {"PERF_RES_DRAM_CM_MGR_CAM_ENABLE", QVNPERF_KIND_LATEST, 1, 0, 0},
        {"PERF_RES_FPS_FBT_UCLAMP_LIMIT_ENABLE", QVNPERF_KIND_LATEST, 0, 1, 1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        qvnperf_reset();
        const int id = res(c.name);
        EXPECT_EQ(qvnperf_resource_kind(id), c.kind);
        const int older = acq(0, 0, {id, c.older});
        const int newer = acq(0, 0, {id, c.newer});
        EXPECT_EQ(effective(id), c.expected);
        // Re-issuing makes the older lock the most recent one.
        acq(older, 0, {});
        EXPECT_EQ(effective(id), c.kind == QVNPERF_KIND_LATEST ? c.older : c.expected);
        perf_lock_rel(older);
        EXPECT_EQ(effective(id), c.newer);
        perf_lock_rel(newer);
        EXPECT_FALSE(qvnperf_get_effective_value(id, nullptr));
    }
}

TEST_F(PowerService, UnknownIdsAreKeptAndShownByNumber) {
    const int a = res("PERF_RES_CPUFREQ_MIN_CLUSTER_0");
    acq(0, 0, {kUnknownId, 4, a, 100});
    acq(0, 0, {kUnknownId, 2});
    ASSERT_EQ(qvnperf_get_effective(nullptr, 0), 2);
    QvnPerfEffective out[2];
    ASSERT_EQ(qvnperf_get_effective(out, 2), 2);
    EXPECT_EQ(out[0].id, a);
    EXPECT_STREQ(out[0].name, "PERF_RES_CPUFREQ_MIN_CLUSTER_0");
    EXPECT_EQ(out[1].known, 0);
    EXPECT_STREQ(out[1].name, "0x01448300");
    EXPECT_EQ(out[1].value, 2);
    EXPECT_EQ(out[1].holders, 2);
    EXPECT_EQ(qvnperf_resource_name(kUnknownId), nullptr);
    char label[8];
    EXPECT_EQ(qvnperf_resource_label(kUnknownId, label, sizeof label), 10);
    EXPECT_STREQ(label, "0x01448");
}

TEST_F(PowerService, LeakReportNamesHeldLocksWithoutExpiry) {
    const int a = res("PERF_RES_CPUFREQ_MIN_CLUSTER_0");
    const int leaked = acq(0, 0, {a, 1800000, kUnknownId, 7});
    acq(0, 600000, {a, 1});
    FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(qvnperf_report_leaks(fileno(f)), 1);
    std::rewind(f);
    char line[512] = {}, more[512];
    ASSERT_NE(std::fgets(line, sizeof line, f), nullptr);
    EXPECT_EQ(std::fgets(more, sizeof more, f), nullptr) << "one line per leaked lock";
    std::fclose(f);
    const std::string s = line;
    EXPECT_EQ(s.rfind("W/QvnPerfService(", 0), 0u) << s;
    EXPECT_NE(s.find("leaked lock " + std::to_string(leaked) + " "), std::string::npos) << s;
    EXPECT_NE(s.find("PERF_RES_CPUFREQ_MIN_CLUSTER_0=1800000 0x01448300=7"), std::string::npos)
        << s;
}

TEST_F(PowerService, LeaksAreReportedAtProcessExit) {
    struct Case {
        const char* mode;
        int lines;
    } cases[] = {{"leak", 1}, {"released", 0}, {"released-at-exit", 0}, {"quiet", 0}};
    for (const Case& c : cases) {
        const std::string cmd = std::string(QVNPERF_LEAK_CHILD) + " " + c.mode + " 2>&1";
        FILE* p = popen(cmd.c_str(), "r");
        ASSERT_NE(p, nullptr);
        std::string out;
        char buf[256];
        while (std::fgets(buf, sizeof buf, p) != nullptr) {
            out += buf;
        }
        EXPECT_EQ(pclose(p), 0) << out;
        int lines = 0;
        for (size_t at = 0; (at = out.find("leaked lock", at)) != std::string::npos; ++at) {
            ++lines;
        }
        EXPECT_EQ(lines, c.lines) << c.mode << ":\n" << out;
    }
}

TEST_F(PowerService, ConcurrentClientsKeepCountsAndHandlesConsistent) {
    constexpr int kThreads = 4, kRounds = 300;
    const int a = res("PERF_RES_CPUFREQ_MIN_CLUSTER_0");
    // Some locks last 1 ms, so re-issues race with expiry and sometimes make new locks.
    std::vector<std::vector<int>> handles(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            uint64_t cursor = 0;
            for (int i = 0; i < kRounds; ++i) {
                const int h = acq(0, i % 3 == 0 ? 1 : 0, {a, i});
                const int again = acq(h, 0, {kUnknownId, t});
                qvnperf_get_effective(nullptr, 0);
                cursor = qvnperf_read_events(cursor, nullptr, nullptr);
                perf_lock_rel(again);
                handles[t].push_back(h);
                if (again != h) {
                    handles[t].push_back(again);
                }
            }
        });
    }
    for (auto& th : threads) {
        th.join();
    }
    std::set<int> all;
    size_t issued = 0;
    for (const auto& hs : handles) {
        all.insert(hs.begin(), hs.end());
        issued += hs.size();
    }
    EXPECT_EQ(all.size(), issued) << "a handle was given twice";
    EXPECT_GE(*all.begin(), 1);
    const QvnPerfCounters c = counters();
    EXPECT_EQ(c.granted + c.reissued + c.refused, uint64_t{2 * kThreads * kRounds});
    EXPECT_EQ(c.live, 0u);
    EXPECT_EQ(c.granted, c.released + c.expired);
    EXPECT_EQ(c.bad_releases, 0u);
}

TEST_F(PowerService, LoadsByItsPlainNameLikeTheController) {
    void* lib = dlopen("libqvnperf_client_vendor.so", RTLD_NOW);
    ASSERT_NE(lib, nullptr) << dlerror();
    EXPECT_EQ(dlsym(lib, "perf_lock_acq"), reinterpret_cast<void*>(&perf_lock_acq));
    EXPECT_EQ(dlsym(lib, "perf_lock_rel"), reinterpret_cast<void*>(&perf_lock_rel));
    dlclose(lib);
}

}  // namespace
