// SPDX-License-Identifier: Apache-2.0
#pragma once

// The timeline reshaped for pictures: each lock as a bar over its lifetime, and the
// effective CPU floors and DRAM operating point as step series.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "timeline/Timeline.h"

namespace qvnperfctl {

struct LockBar {
    int handle = 0;
    std::string origin;
    std::string role;  // "open camera: platform", "request 12", ...
    int durationMs = 0;
    int64_t startUs = 0;
    int64_t endUs = 0;
    std::string ending;  // "released", "expired" or "held at the end"
    // The lock's content from each moment on: the grant, then every re-issue.
    std::vector<std::pair<int64_t, std::vector<ResourceValue>>> contents;
};

struct StepSeries {
    std::string label;     // "CPU floor, cluster 0"
    std::string resource;  // the resource it follows
    // (time, effective value) at each change; no value while no lock holds it.
    std::vector<std::pair<int64_t, std::optional<int>>> points;
};

struct StepMark {
    int64_t timeUs;
    std::string label;
};

struct Picture {
    int64_t endUs = 0;
    std::vector<LockBar> bars;          // in order of grant
    std::vector<StepSeries> cpuFloors;  // clusters 0, 1, 2
    StepSeries dram;
    std::vector<StepMark> steps;   // scripted steps, requests left out
    std::vector<StepMark> events;  // C2PS set-up, thread placements
};

Picture buildPicture(const Timeline& timeline);

}  // namespace qvnperfctl
