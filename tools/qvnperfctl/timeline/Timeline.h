// SPDX-License-Identifier: Apache-2.0
#pragma once

// What a simulated session did, as the power service saw it: one entry per step
// (or per request, completion, expiry), each with the lock events it caused and the
// effective values afterwards. The printer and the picture writers read only this.

#include <QvnPerfService.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace qvnperfctl {

struct ResourceValue {
    int id = 0;
    int value = 0;
    std::string name;  // vocabulary name, or "0x%08x" for an unknown id

    bool operator==(const ResourceValue& o) const { return id == o.id && value == o.value; }
};

enum class LockEventKind { Granted, Reissued, Released, Expired, Refused, BadRelease };

struct LockEvent {
    LockEventKind kind = LockEventKind::Granted;
    int handle = 0;
    int durationMs = 0;
    int64_t timeUs = 0;                    // since the session started
    bool afterExpiry = false;              // a release of a lock that had already expired
    std::string reason;                    // refusals and bad releases
    std::vector<ResourceValue> pairs;      // what the request asked for
    std::vector<ResourceValue> lockPairs;  // the lock's whole content after the event
};

struct Entry {
    int64_t timeUs = 0;
    std::string step;                // "open camera", "request 7", "expiry", ...
    int scriptLine = 0;              // 0 for entries the session did not script
    bool perRequest = false;         // a request or its completion, not a step of its own
    std::vector<std::string> notes;  // what the controller answered
    // What the controller set up besides locks (C2PS, thread placements): shown as
    // events of their own in the timeline and the pictures.
    std::vector<std::string> marks;
    std::vector<LockEvent> events;
    // After this entry, by ascending id; never null. Shared with the entry before when it
    // did not change, which keeps sessions of many thousand requests small.
    std::shared_ptr<const std::vector<ResourceValue>> effective;

    // When the entry's changes took effect: its last lock event, else its start.
    int64_t changedAtUs() const { return events.empty() ? timeUs : events.back().timeUs; }
};

struct LockSummary {
    int handle = 0;
    std::string origin;
    int durationMs = 0;
    int64_t grantedUs = 0;
    int64_t timeLeftMs = -1;  // -1: no expiry
    std::vector<ResourceValue> pairs;
};

struct Timeline {
    std::string sessionPath;
    std::string description;
    std::vector<std::pair<std::string, std::string>> setup;  // what ran: label, value
    std::vector<Entry> entries;
    std::map<int, std::string> lockOrigin;  // handle -> step that granted it
    std::map<int, std::string> lockRole;    // handle -> "open camera: platform", ...
    int64_t endUs = 0;
    QvnPerfCounters counters{};
    std::vector<LockSummary> leaks;       // live without expiry at the end
    std::vector<LockSummary> stillTimed;  // live with time left at the end

    // A refused lock is a problem too: the device would run without what was asked.
    bool clean() const {
        return leaks.empty() && counters.bad_releases == 0 && counters.refused == 0;
    }
};

}  // namespace qvnperfctl
