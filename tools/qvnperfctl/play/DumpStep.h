#pragma once

// The `dump` step: what qvncam_perfctrl_dump() prints at that point of a session, then the
// power service's own view of the live locks, so that the two can be matched by handle.

#include <string>
#include <vector>

#include "timeline/Timeline.h"

namespace qvnperfctl {

// One note per line.
std::vector<std::string> dumpStepNotes(const std::vector<LockSummary>& serviceLocks);

}  // namespace qvnperfctl
