// SPDX-License-Identifier: Apache-2.0
#pragma once

// Two timelines of one session under two tunings, side by side: which resources behave
// differently, how long each spent at each value on each side, where the sides first
// part, and their lock counts.

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "timeline/ResourceTimes.h"
#include "timeline/Timeline.h"

namespace qvnperfctl {

struct SideDifference {
    int64_t timeUs = 0;
    std::string step;  // the step that made the sides part, "request 12" or "expiry (B)"
    int scriptLine = 0;
    std::optional<int> a, b;  // the resource's values from then on
};

struct ResourceDifference {
    std::string name;
    ResourceTrack a, b;
    std::vector<ValueRow> rows;  // time at each value, A then B
    SideDifference first;
};

struct Comparison {
    std::vector<ResourceDifference> resources;  // only those that differ, by id
    // The earliest of the resources' first differences.
    std::optional<ResourceDifference> first() const;
};

// Both sides played on the virtual clock, so any difference in value or time counts.
Comparison compareTimelines(const Timeline& a, const Timeline& b);

struct SideLabel {
    std::string name;  // "A"
    std::string options;
};

}  // namespace qvnperfctl
