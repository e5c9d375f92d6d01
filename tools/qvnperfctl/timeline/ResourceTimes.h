// SPDX-License-Identifier: Apache-2.0
#pragma once

// How long each resource spent at each effective value, read from a timeline. A floor
// is summed as "at or above" each value and a cap as "at or below", which is what a
// tuner asks of them; other resources "at" each value.

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "timeline/Timeline.h"

namespace qvnperfctl {

// One resource's effective value over a session: (time, value) at each change, from
// 0; no value while no lock holds it.
struct ResourceTrack {
    int id = 0;
    std::string name;
    std::vector<std::pair<int64_t, std::optional<int>>> points;

    std::optional<int> valueAt(int64_t us) const;
};

// Every resource the session held, by ascending id.
std::vector<ResourceTrack> resourceTracks(const Timeline& timeline);
// The track of one resource by name; only the start point when the session never held it.
ResourceTrack trackOf(const Timeline& timeline, const std::string& name);

struct ValueRow {
    std::string label;          // "not held", "at or above 1.4 GHz", "at 2"
    std::vector<int64_t> usBy;  // time on each track given
};

// The rows of one resource over several tracks of it (one per side), each track
// ending at its own session end.
std::vector<ValueRow> timeAtValue(const std::vector<const ResourceTrack*>& tracks,
                                  const std::vector<int64_t>& endUs);

}  // namespace qvnperfctl
