// SPDX-License-Identifier: Apache-2.0
#include "timeline/LockSpans.h"

#include <map>

#include "timeline/ResourceTimes.h"

namespace qvnperfctl {
namespace {

void follow(StepSeries& series, const Timeline& timeline) {
    series.points = trackOf(timeline, series.resource).points;
}

}  // namespace

Picture buildPicture(const Timeline& timeline) {
    Picture picture;
    picture.endUs = timeline.endUs;
    std::map<int, size_t> barOf;
    for (const auto& e : timeline.entries) {
        if (!e.perRequest && e.step != "expiry")
            picture.steps.push_back({e.timeUs, e.step});
        for (const auto& mark : e.marks)
            picture.events.push_back({e.timeUs, mark});
        for (const auto& event : e.events) {
            if (event.kind == LockEventKind::Granted) {
                LockBar bar;
                bar.handle = event.handle;
                bar.origin = e.step;
                auto role = timeline.lockRole.find(event.handle);
                bar.role = role != timeline.lockRole.end() ? role->second : e.step;
                bar.durationMs = event.durationMs;
                bar.startUs = bar.endUs = event.timeUs;
                bar.ending = "held at the end";
                bar.contents.emplace_back(event.timeUs, event.lockPairs);
                barOf[event.handle] = picture.bars.size();
                picture.bars.push_back(std::move(bar));
                continue;
            }
            auto it = barOf.find(event.handle);
            if (it == barOf.end())
                continue;
            LockBar& bar = picture.bars[it->second];
            if (event.kind == LockEventKind::Reissued) {
                bar.contents.emplace_back(event.timeUs, event.lockPairs);
            } else if (event.kind == LockEventKind::Expired ||
                       (event.kind == LockEventKind::Released && !event.afterExpiry)) {
                bar.endUs = event.timeUs;
                bar.ending = event.kind == LockEventKind::Expired ? "expired" : "released";
                barOf.erase(it);
            }
        }
    }
    for (const auto& [handle, index] : barOf)
        picture.bars[index].endUs = timeline.endUs;

    for (int cluster = 0; cluster < 3; ++cluster) {
        StepSeries series;
        series.label = "CPU floor, cluster " + std::to_string(cluster);
        series.resource = "PERF_RES_CPUFREQ_MIN_CLUSTER_" + std::to_string(cluster);
        follow(series, timeline);
        picture.cpuFloors.push_back(std::move(series));
    }
    picture.dram.label = "DRAM operating point floor";
    picture.dram.resource = "PERF_RES_DRAM_OPP_MIN";
    follow(picture.dram, timeline);
    return picture;
}

}  // namespace qvnperfctl
