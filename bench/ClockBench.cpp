// SPDX-License-Identifier: Apache-2.0
// Advancing the virtual clock past many pending waits, as a session simulation does with
// one trace timer per timed lock. Each wait is made on this thread and handed to a worker,
// as the controller hands its timers' waits to their threads; every worker is asleep in
// its first wait before the clock moves. A worker holds its waits in deadline order, so
// each one it is asleep in is the next to fall due.
//
//   qvncam_bench_clock [--benchmark_filter=...]

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
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

}  // namespace

BENCHMARK(advancePastPendingWaits)
    ->ArgNames({"waits", "workers"})
    ->Args({1000, 1000})
    ->Args({10000, 1000})
    ->Args({100000, 1000})
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

BENCHMARK_MAIN();
