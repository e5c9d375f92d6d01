// SPDX-License-Identifier: Apache-2.0
#pragma once

// Reads the host power service's inspection API into timeline records.

#include <cstdint>
#include <optional>
#include <vector>

#include "timeline/Timeline.h"

namespace qvnperfctl {

class ServiceProbe {
  public:
    // Times are reported relative to this moment; events before it are skipped.
    ServiceProbe();

    int64_t nowUs() const;
    // Events since the last call, oldest first.
    std::vector<LockEvent> takeEvents();
    std::vector<ResourceValue> effective() const;
    QvnPerfCounters counters() const;
    // In order of creation; those without expiry have timeLeftMs -1.
    std::vector<LockSummary> liveLocks() const;
    // When the next timed lock runs out, if any.
    std::optional<int64_t> nextExpiryUs() const;

  private:
    int64_t mOriginUs;
    uint64_t mCursor = 0;
};

}  // namespace qvnperfctl
