// SPDX-License-Identifier: Apache-2.0
// Instructions per operation and per floor, counted by callgrind (see bench/run):
//   valgrind --tool=callgrind qvncam_bench_icount [ITERATIONS]
// Each operation runs ITERATIONS times between a reset and a dump of callgrind's counters;
// the dump is named "op:<name>" or "floor:<name>". Outside valgrind the requests do nothing.

#if __has_include(<valgrind/callgrind.h>)
#include <valgrind/callgrind.h>
#else
#define CALLGRIND_ZERO_STATS
#define CALLGRIND_DUMP_STATS_AT(name)
#endif

#include <cstdio>
#include <cstdlib>
#include <string>

#include "Operations.h"

namespace {

void count(const std::string& name, void (*fn)(), int iterations) {
    CALLGRIND_ZERO_STATS;
    for (int i = 0; i < iterations; ++i) {
        fn();
    }
    CALLGRIND_DUMP_STATS_AT(name.c_str());
}

}  // namespace

int main(int argc, char** argv) {
    const int iterations = argc > 1 ? std::atoi(argv[1]) : 1000;
    if (iterations < 1) {
        std::fprintf(stderr, "usage: %s [ITERATIONS]\n", argv[0]);
        return 2;
    }
    std::string why;
    if (!qvncam::bench::setUp(why)) {
        std::fprintf(stderr, "qvncam_bench_icount: %s\n", why.c_str());
        return 1;
    }
    const auto& ops = qvncam::bench::operations();
    // First calls fill caches and grow containers; count the steady state.
    for (const auto& op : ops) {
        for (int i = 0; i < 20; ++i) {
            op.run();
            if (op.floor != nullptr) {
                op.floor();
            }
        }
    }
    for (const auto& op : ops) {
        count(std::string("op:") + op.name, op.run, iterations);
        if (op.floor != nullptr) {
            count(std::string("floor:") + op.name, op.floor, iterations);
        }
    }
    std::printf("iterations %d\n", iterations);
    return 0;
}
