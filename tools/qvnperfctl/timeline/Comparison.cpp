// SPDX-License-Identifier: Apache-2.0
#include "timeline/Comparison.h"

#include <algorithm>
#include <map>
#include <set>

#include "timeline/ValueLabels.h"

namespace qvnperfctl {
namespace {

// The entry of `t` that last changed resource `name` at or before `us`.
const Entry* entryAt(const Timeline& t, const std::string& name, int64_t us) {
    const Entry* found = nullptr;
    std::optional<int> last;
    for (const auto& e : t.entries) {
        if (e.changedAtUs() > us)
            break;
        std::optional<int> value;
        for (const auto& v : *e.effective) {
            if (v.name == name)
                value = v.value;
        }
        if (value != last || found == nullptr)
            found = &e;
        last = value;
    }
    return found;
}

// The first moment the two tracks hold different values.
std::optional<int64_t> firstApart(const ResourceTrack& a, const ResourceTrack& b, int64_t endUs) {
    std::set<int64_t> moments;
    for (const auto* track : {&a, &b}) {
        for (const auto& point : track->points)
            moments.insert(point.first);
    }
    for (int64_t t : moments) {
        if (t < endUs && a.valueAt(t) != b.valueAt(t))
            return t;
    }
    return std::nullopt;
}

// Where the tracks part at `us`.
SideDifference describe(const Timeline& ta, const Timeline& tb, const ResourceTrack& a,
                        const ResourceTrack& b, int64_t us) {
    SideDifference d;
    d.timeUs = us;
    d.a = a.valueAt(us);
    d.b = b.valueAt(us);
    const Entry* ea = entryAt(ta, a.name, us);
    const Entry* eb = entryAt(tb, b.name, us);
    // The side whose change came last made them part.
    const bool fromB = eb && (!ea || eb->changedAtUs() > ea->changedAtUs());
    const Entry* e = fromB ? eb : ea;
    if (!e)
        return d;
    if (e->scriptLine > 0 || e->perRequest) {
        d.step = "step \"" + e->step + "\"";
        d.scriptLine = e->perRequest ? 0 : e->scriptLine;
        return d;
    }
    // An expiry: name the locks by role.
    const Timeline& t = fromB ? tb : ta;
    std::string locks;
    for (const auto& event : e->events) {
        auto role = t.lockRole.find(event.handle);
        locks += std::string(locks.empty() ? "" : ", ") + "lock " + std::to_string(event.handle) +
                 (role != t.lockRole.end() ? " (" + role->second + ")" : "");
    }
    // Both sides may have had it at that moment.
    const Entry* other = fromB ? ea : eb;
    const bool both = other && other->step == e->step && other->changedAtUs() == e->changedAtUs();
    d.step = e->step + " of " + locks + (both ? " on both sides" : fromB ? " on B" : " on A");
    return d;
}

}  // namespace

std::optional<ResourceDifference> Comparison::first() const {
    const ResourceDifference* best = nullptr;
    for (const auto& r : resources) {
        if (!best || r.first.timeUs < best->first.timeUs)
            best = &r;
    }
    return best ? std::optional<ResourceDifference>(*best) : std::nullopt;
}

Comparison compareTimelines(const Timeline& a, const Timeline& b) {
    std::map<int, std::string> names;
    for (const auto* t : {&a, &b}) {
        for (const auto& e : t->entries) {
            for (const auto& v : *e.effective)
                names.emplace(v.id, v.name);
        }
    }
    const int64_t endUs = std::max(a.endUs, b.endUs);
    Comparison comparison;
    for (const auto& [id, name] : names) {
        ResourceDifference r;
        r.name = name;
        r.a = trackOf(a, name);
        r.b = trackOf(b, name);
        r.a.id = r.b.id = id;
        r.rows = timeAtValue({&r.a, &r.b}, {a.endUs, b.endUs});
        const auto apart = firstApart(r.a, r.b, endUs);
        const bool rowsDiffer = std::any_of(r.rows.begin(), r.rows.end(), [&](const ValueRow& row) {
            return row.usBy[0] != row.usBy[1];
        });
        if (!apart && !rowsDiffer)
            continue;
        r.first = describe(a, b, r.a, r.b, apart.value_or(0));
        comparison.resources.push_back(std::move(r));
    }
    return comparison;
}

}  // namespace qvnperfctl
