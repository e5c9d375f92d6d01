// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>

#include "timeline/Timeline.h"

namespace qvnperfctl {

// The readable timeline: setup, each step with its lock events and the effective
// values it changed, then the service's counters and any leaked lock.
void printTimeline(const Timeline& timeline, std::FILE* out);

}  // namespace qvnperfctl
