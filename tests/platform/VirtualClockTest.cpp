// SPDX-License-Identifier: Apache-2.0
// The host's virtual clock and the timer threads that wait on it.

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdint>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "qvncam/platform/Clock.h"
#include "qvncam/platform/VirtualClock.h"

namespace qvncam {
namespace {

using platform::clock_now_us;
using platform::ClockWait;

// Timer threads as the controller starts them: the wait is made here, waited on there.
// Each writes "name@time" when its wait ends; one with `rearmMs` then waits again.
struct Timers {
    std::mutex mutex;
    std::vector<std::string> log;
    std::vector<std::thread> threads;

    void start(const std::string& name, int ms, int rearmMs = 0) {
        auto first = std::make_optional<ClockWait>(ms);
        threads.emplace_back([this, name, rearmMs, first = std::move(first)]() mutable {
            first->wait();
            note(name);
            if (rearmMs > 0) {
                ClockWait again(rearmMs);  // made before the first is done: counts from its end
                first.reset();
                again.wait();
                note(name + "'");
            }
        });
    }
    void note(const std::string& what) {
        std::lock_guard<std::mutex> lock(mutex);
        log.push_back(what + "@" + std::to_string(clock_now_us()));
    }
    ~Timers() {
        host::useSystemClock();
        for (std::thread& t : threads)
            t.join();
    }
};

TEST(ClockTimerThreads, OnlyDueWaitsEndEachInDeadlineOrderAtItsDeadline) {
    host::useVirtualClock(1000000);
    Timers timers;
    timers.start("d30", 30);
    timers.start("a10", 10, 15);  // again at 25, before d30 and its twin
    timers.start("f50", 50);
    timers.start("b20", 20);
    timers.start("e30", 30);  // made after d30: ends after it
    host::advanceClockBy(40000);
    EXPECT_EQ(timers.log, (std::vector<std::string>{"a10@1010000", "b20@1020000", "a10'@1025000",
                                                    "d30@1030000", "e30@1030000"}));
    EXPECT_EQ(clock_now_us(), 1040000);
    EXPECT_EQ(host::pendingClockWaits(), 1u);
    host::advanceClockBy(10000);
    EXPECT_EQ(timers.log.back(), "f50@1050000");
    EXPECT_EQ(host::pendingClockWaits(), 0u);
}

// Times stop at the ends of the scale; a wait whose deadline is past the end ends there.
TEST(ClockTimerThreads, ArithmeticSaturatesAtTheEndsOfTheScale) {
    const struct {
        int64_t start, by, now;
        bool ended;
    } cases[] = {{INT64_MAX - 10, 5, INT64_MAX - 5, false},
                 {INT64_MAX - 10, INT64_MAX, INT64_MAX, true},
                 {INT64_MAX, 0, INT64_MAX, true},
                 {-10, INT64_MIN, -10, false}};
    for (const auto& c : cases) {
        Timers timers;
        host::useVirtualClock(c.start);
        timers.start("w", 1);
        host::advanceClockBy(c.by);
        EXPECT_EQ(clock_now_us(), c.now) << c.start << " + " << c.by;
        EXPECT_EQ(host::pendingClockWaits(), c.ended ? 0u : 1u) << c.start << " + " << c.by;
    }
}

// Setting the clock ends the waits now due at once; deadlines stay where they were.
TEST(ClockTimerThreads, SettingTheClockEndsTheWaitsItPassed) {
    host::useVirtualClock(1000000);
    std::promise<void> ended;
    std::thread early([wait = ClockWait(5), &ended]() mutable {
        wait.wait();
        ended.set_value();
    });
    Timers timers;
    timers.start("late", 50);
    host::useVirtualClock(1010000);
    EXPECT_EQ(ended.get_future().wait_for(std::chrono::seconds(10)), std::future_status::ready);
    host::useVirtualClock(0);
    host::advanceClockTo(1049999);
    EXPECT_EQ(host::pendingClockWaits(), 1u);
    host::advanceClockBy(1);
    EXPECT_EQ(timers.log, std::vector<std::string>{"late@1050000"});
    host::useSystemClock();
    early.join();
}

}  // namespace
}  // namespace qvncam
