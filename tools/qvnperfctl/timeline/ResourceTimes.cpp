// SPDX-License-Identifier: Apache-2.0
#include "timeline/ResourceTimes.h"

#include <QvnPerfService.h>

#include <algorithm>
#include <map>
#include <set>

#include "timeline/ValueLabels.h"

namespace qvnperfctl {

std::optional<int> ResourceTrack::valueAt(int64_t us) const {
    std::optional<int> value;
    for (const auto& [at, v] : points) {
        if (at > us)
            break;
        value = v;
    }
    return value;
}

namespace {

void addPoint(ResourceTrack& track, int64_t us, std::optional<int> value) {
    if (track.points.back().second == value)
        return;
    if (track.points.back().first == us)
        track.points.back().second = value;  // two entries at one moment: the later counts
    else
        track.points.emplace_back(us, value);
    if (track.points.size() > 1 && track.points[track.points.size() - 2].second == value)
        track.points.pop_back();
}

}  // namespace

std::vector<ResourceTrack> resourceTracks(const Timeline& timeline) {
    std::map<int, std::string> held;
    for (const auto& e : timeline.entries) {
        for (const auto& v : *e.effective)
            held.emplace(v.id, v.name);
    }
    std::vector<ResourceTrack> tracks;
    for (const auto& [id, name] : held)
        tracks.push_back(trackOf(timeline, name));
    return tracks;
}

ResourceTrack trackOf(const Timeline& timeline, const std::string& name) {
    ResourceTrack track{0, name, {{0, std::nullopt}}};
    for (const auto& e : timeline.entries) {
        std::optional<int> value;
        for (const auto& v : *e.effective) {
            if (v.name == name) {
                value = v.value;
                track.id = v.id;
            }
        }
        addPoint(track, std::max<int64_t>(e.changedAtUs(), 0), value);
    }
    return track;
}

std::vector<ValueRow> timeAtValue(const std::vector<const ResourceTrack*>& tracks,
                                  const std::vector<int64_t>& endUs) {
    // Time at each exact value (nullopt: not held), per track.
    std::vector<std::map<std::optional<int>, int64_t>> exact(tracks.size());
    std::set<int> values;
    bool everUnheld = false;
    int id = 0;
    std::string name;
    for (size_t t = 0; t < tracks.size(); ++t) {
        const auto& p = tracks[t]->points;
        id = tracks[t]->id;
        name = tracks[t]->name;
        for (size_t i = 0; i < p.size(); ++i) {
            int64_t end = i + 1 < p.size() ? p[i + 1].first : endUs[t];
            exact[t][p[i].second] += std::max<int64_t>(end - p[i].first, 0);
            if (p[i].second)
                values.insert(*p[i].second);
        }
        everUnheld |= exact[t][std::nullopt] > 0;
    }
    const int kind = qvnperf_resource_kind(id);
    std::vector<ValueRow> rows;
    if (everUnheld) {
        ValueRow row{"not held", {}};
        for (const auto& e : exact)
            row.usBy.push_back(e.count(std::nullopt) ? e.at(std::nullopt) : 0);
        rows.push_back(std::move(row));
    }
    for (int v : values) {
        ValueRow row;
        row.label = (kind == QVNPERF_KIND_FLOOR ? "at or above "
                     : kind == QVNPERF_KIND_CAP ? "at or below "
                                                : "at ") +
                    formatValue(name, v);
        for (const auto& e : exact) {
            int64_t us = 0;
            for (const auto& [value, time] : e) {
                if (!value)
                    continue;
                if (kind == QVNPERF_KIND_FLOOR ? *value >= v
                    : kind == QVNPERF_KIND_CAP ? *value <= v
                                               : *value == v)
                    us += time;
            }
            row.usBy.push_back(us);
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

}  // namespace qvnperfctl
