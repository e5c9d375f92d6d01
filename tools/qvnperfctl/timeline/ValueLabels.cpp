// SPDX-License-Identifier: Apache-2.0
#include "timeline/ValueLabels.h"

#include <cstdio>
#include <cstdlib>

namespace qvnperfctl {
namespace {

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

// Drops trailing zeros of a fixed-point number: "1.50" -> "1.5", "2.00" -> "2".
std::string trimmed(double v, int decimals) {
    char buf[48];
    std::snprintf(buf, sizeof buf, "%.*f", decimals, v);
    std::string s = buf;
    if (s.find('.') != std::string::npos) {
        while (s.back() == '0')
            s.pop_back();
        if (s.back() == '.')
            s.pop_back();
    }
    return s;
}

}  // namespace

TimeUnit unitFor(int64_t spanUs) {
    if (spanUs < 2'000'000)
        return {"ms", 1e3, 1};
    if (spanUs < 300'000'000)
        return {"s", 1e6, 2};
    return {"min", 60e6, 2};
}

std::string formatTime(int64_t us, const TimeUnit& unit) {
    char buf[48];
    std::snprintf(buf, sizeof buf, "%.*f %s", unit.decimals, static_cast<double>(us) / unit.us,
                  unit.name);
    return buf;
}

std::string formatTime(int64_t us) {
    return formatTime(us, unitFor(std::llabs(us)));
}

std::string readableName(const std::string& name) {
    static const struct {
        const char* prefix;
        const char* label;
    } kLabels[] = {
        {"PERF_RES_CPUFREQ_MIN_CLUSTER_", "CPU floor, cluster "},
        {"PERF_RES_CPUFREQ_MAX_CLUSTER_", "CPU cap, cluster "},
        {"PERF_RES_CPUCORE_MIN_CLUSTER_", "CPU cores online at least, cluster "},
        {"PERF_RES_CPUCORE_MAX_CLUSTER_", "CPU cores online at most, cluster "},
    };
    for (const auto& l : kLabels) {
        if (startsWith(name, l.prefix))
            return l.label + name.substr(std::char_traits<char>::length(l.prefix));
    }
    if (name == "PERF_RES_DRAM_OPP_MIN")
        return "DRAM operating point floor";
    return name;
}

std::string formatValue(const std::string& name, int value) {
    if ((!startsWith(name, "PERF_RES_CPUFREQ_MIN_") &&
         !startsWith(name, "PERF_RES_CPUFREQ_MAX_")) ||
        value <= 0)
        return std::to_string(value);
    if (value >= 1'000'000)
        return trimmed(value / 1e6, 3) + " GHz";
    return trimmed(value / 1e3, 1) + " MHz";
}

}  // namespace qvnperfctl
