// SPDX-License-Identifier: Apache-2.0
// Timing of every controller operation next to its floor, in the same run (see bench/run).

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "Operations.h"

namespace {

void runOperation(benchmark::State& state, void (*fn)()) {
    for (auto _ : state) {
        fn();
    }
    state.SetItemsProcessed(state.iterations());
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    std::string why;
    if (!qvncam::bench::setUp(why)) {
        std::fprintf(stderr, "qvncam_bench: %s\n", why.c_str());
        return 1;
    }
    for (const qvncam::bench::Operation& op : qvncam::bench::operations()) {
        benchmark::RegisterBenchmark((std::string(op.name) + "/op").c_str(), runOperation, op.run);
        if (op.floor != nullptr) {
            benchmark::RegisterBenchmark((std::string(op.name) + "/floor").c_str(), runOperation,
                                         op.floor);
        }
    }
    // Boosts from several threads: nothing in the controller may serialise them.
    for (const char* kind : {"op", "floor"}) {
        const bool isOp = kind[0] == 'o';
        benchmark::RegisterBenchmark((std::string("runPerfBoost.threads/") + kind).c_str(),
                                     runOperation,
                                     isOp ? qvncam::bench::boost : qvncam::bench::boostFloor)
            ->Threads(1)
            ->Threads(2)
            ->Threads(4)
            ->Threads(8)
            ->UseRealTime();
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
