// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "timeline/LockSpans.h"
#include "timeline/Timeline.h"

namespace qvnperfctl {

// Writes the session as Chrome trace-event JSON (Perfetto UI, chrome://tracing): a
// track of steps, a track per lock with its resources as arguments, and counter tracks
// for the effective CPU floor of each cluster and the DRAM operating point.
std::string chromeTrace(const Timeline& timeline, const Picture& picture);

}  // namespace qvnperfctl
