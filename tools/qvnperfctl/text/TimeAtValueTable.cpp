// SPDX-License-Identifier: Apache-2.0
#include "text/TimeAtValueTable.h"

#include <string>

#include "timeline/ResourceTimes.h"
#include "timeline/ValueLabels.h"

namespace qvnperfctl {

void printTimeAtValue(const Timeline& timeline, std::FILE* out) {
    const auto tracks = resourceTracks(timeline);
    std::fprintf(out, "time at each effective value:%s\n", tracks.empty() ? " nothing held" : "");
    const TimeUnit unit = unitFor(timeline.endUs);
    for (const auto& track : tracks) {
        std::string label = readableName(track.name);
        std::fprintf(out, "  %s%s\n", label.c_str(),
                     label == track.name ? "" : (" (" + track.name + ")").c_str());
        for (const auto& row : timeAtValue({&track}, {timeline.endUs})) {
            std::fprintf(out, "    %-28s %12s\n", row.label.c_str(),
                         formatTime(row.usBy[0], unit).c_str());
        }
    }
}

}  // namespace qvnperfctl
