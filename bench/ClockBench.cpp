// SPDX-License-Identifier: Apache-2.0
// Advancing the virtual clock past many pending waits, as a session simulation does with
// one trace timer per timed lock. Each wait is made on this thread and handed to a worker,
// as the controller hands its timers' waits to their threads; every worker is asleep in
// its first wait before the clock moves. A worker holds its waits in deadline order, so
// each one it is asleep in is the next to fall due. handOffFloor is what the machine's
// thread switches alone cost for as many waits.
//
//   qvncam_bench_clock [--benchmark_filter=...]

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "qvncam/platform/Clock.h"
#include "qvncam/platform/VirtualClock.h"

namespace {

using qvncam::platform::ClockWait;

void advancePastPendingWaits(benchmark::State& state) {
    const auto waits = static_cast<int>(state.range(0));
    const auto workers = static_cast<size_t>(state.range(1));
    for (auto _ : state) {
        state.PauseTiming();
        qvncam::host::useVirtualClock(0);
        std::vector<std::deque<ClockWait>> held(workers);
        for (int i = 0; i < waits; ++i) {
            held[static_cast<size_t>(i) % workers].emplace_back(i + 1);  // due at i + 1 ms
        }
        std::atomic<size_t> asleep{0};
        std::vector<std::thread> threads;
        for (auto& mine : held) {
            threads.emplace_back([&asleep, mine = std::move(mine)]() mutable {
                asleep.fetch_add(1);
                for (; !mine.empty(); mine.pop_front()) {
                    mine.front().wait();
                }
            });
        }
        while (asleep.load() < workers) {
            std::this_thread::yield();
        }
        // From counted to asleep in the wait.
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        state.ResumeTiming();
        qvncam::host::advanceClockTo(int64_t{waits} * 1000);
        state.PauseTiming();
        if (qvncam::host::pendingClockWaits() != 0) {
            state.SkipWithError("waits left pending");
        }
        for (std::thread& t : threads) {
            t.join();
        }
        qvncam::host::useSystemClock();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * waits);
}

// The floor: the same workers hand a token round, one switch per wait and nothing else.
// An advance cannot beat it, as each wait's thread must run before the next one's.
void handOffFloor(benchmark::State& state) {
    const auto handoffs = static_cast<int>(state.range(0));
    const auto workers = static_cast<int>(state.range(1));
    struct Turn {
        std::mutex mutex;
        std::condition_variable cv;
        bool mine = false;
    };
    auto give = [](Turn& turn) {
        {
            std::lock_guard<std::mutex> lock(turn.mutex);
            turn.mine = true;
        }
        turn.cv.notify_one();
    };
    auto take = [](Turn& turn) {
        std::unique_lock<std::mutex> lock(turn.mutex);
        turn.cv.wait(lock, [&turn] { return turn.mine; });
        turn.mine = false;
    };
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<Turn> turns(static_cast<size_t>(workers) + 1);  // the last: this thread's
        std::vector<std::thread> threads;
        for (int w = 0; w < workers; ++w) {
            threads.emplace_back([&, w] {
                for (int i = w; i < handoffs; i += workers) {
                    take(turns[static_cast<size_t>(w)]);
                    give(turns[i + 1 < handoffs ? static_cast<size_t>((w + 1) % workers)
                                                : turns.size() - 1]);
                }
            });
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        state.ResumeTiming();
        give(turns[0]);
        take(turns.back());
        state.PauseTiming();
        for (std::thread& t : threads) {
            t.join();
        }
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * handoffs);
}

}  // namespace

BENCHMARK(advancePastPendingWaits)
    ->ArgNames({"waits", "workers"})
    ->ArgsProduct({{1000, 10000, 100000}, {100, 1000}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(handOffFloor)
    ->ArgNames({"waits", "workers"})
    ->ArgsProduct({{1000, 10000, 100000}, {100, 1000}})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

BENCHMARK_MAIN();
