// SPDX-License-Identifier: Apache-2.0
#pragma once

// How the tool writes times and resource values for people: one unit per table or
// axis, chosen from the span it covers, and frequencies in MHz/GHz.

#include <cstdint>
#include <string>

namespace qvnperfctl {

struct TimeUnit {
    const char* name;  // "ms", "s", "min"
    double us;         // microseconds in one unit
    int decimals;
};

// The unit that writes times up to `spanUs` with few digits.
TimeUnit unitFor(int64_t spanUs);
// "1.20 s" in `unit`; "1.2 ms" below a second with the default unit.
std::string formatTime(int64_t us, const TimeUnit& unit);
std::string formatTime(int64_t us);

// "CPU floor, cluster 0" for PERF_RES_CPUFREQ_MIN_CLUSTER_0; other names unchanged.
std::string readableName(const std::string& name);
// "1.4 GHz" for a CPU frequency (kHz), the plain number otherwise.
std::string formatValue(const std::string& name, int value);

}  // namespace qvnperfctl
