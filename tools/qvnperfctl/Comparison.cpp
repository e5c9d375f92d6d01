#include "Comparison.h"

#include <algorithm>
#include <map>
#include <set>

#include "Units.h"

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

std::string valueText(const std::string& name, const std::optional<int>& v) {
    return v ? formatValue(name, *v) : "not held";
}

std::string stepText(const SideDifference& d) {
    return d.step + (d.scriptLine ? " [line " + std::to_string(d.scriptLine) + "]" : "");
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

void printComparison(const Comparison& c, const Timeline& a, const Timeline& b,
                     const SideLabel& labelA, const SideLabel& labelB, std::FILE* out) {
    std::fprintf(out, "qvnperfctl compare %s\n", a.sessionPath.c_str());
    if (!a.description.empty())
        std::fprintf(out, "  %s\n", a.description.c_str());
    for (const auto* side : {&labelA, &labelB}) {
        std::fprintf(out, "  %s: %s\n", side->name.c_str(),
                     side->options.empty() ? "(no options)" : side->options.c_str());
    }
    const TimeUnit unit = unitFor(std::max(a.endUs, b.endUs));
    if (a.endUs == b.endUs) {
        std::fprintf(out, "  session: %s\n\n", formatTime(a.endUs, unit).c_str());
    } else {
        std::fprintf(out, "  session: %s (A), %s (B)\n\n", formatTime(a.endUs, unit).c_str(),
                     formatTime(b.endUs, unit).c_str());
    }

    if (auto first = c.first()) {
        const SideDifference& d = first->first;
        std::fprintf(out, "first difference: %s, at %s\n", formatTime(d.timeUs, unit).c_str(),
                     stepText(d).c_str());
        std::fprintf(out, "  %s: A %s, B %s\n\n", resourceLabel(first->name).c_str(),
                     valueText(first->name, d.a).c_str(), valueText(first->name, d.b).c_str());
        std::fprintf(out, "resources that differ: time at each effective value, A vs B\n");
        for (const auto& r : c.resources) {
            const std::string label = resourceLabel(r.name);
            std::fprintf(out, "  %s%s, first differs at %s, %s\n", label.c_str(),
                         label == r.name ? "" : (" (" + r.name + ")").c_str(),
                         formatTime(r.first.timeUs, unit).c_str(), stepText(r.first).c_str());
            for (const auto& row : r.rows) {
                std::fprintf(out, "    %-28s %12s vs %s\n", row.label.c_str(),
                             formatTime(row.usBy[0], unit).c_str(),
                             formatTime(row.usBy[1], unit).c_str());
            }
        }
    } else {
        std::fprintf(out,
                     "no difference: every resource holds the same values at the same times\n");
    }

    const auto& ca = a.counters;
    const auto& cb = b.counters;
    const struct {
        const char* label;
        unsigned long long a, b;
    } rows[] = {
        {"granted", ca.granted, cb.granted},
        {"re-issued", ca.reissued, cb.reissued},
        {"released", ca.released, cb.released},
        {"expired", ca.expired, cb.expired},
        {"refused", ca.refused, cb.refused},
        {"bad releases", ca.bad_releases, cb.bad_releases},
        {"leaked", a.leaks.size(), b.leaks.size()},
    };
    std::fprintf(out, "\n%-22s %8s %8s\n", "locks", "A", "B");
    for (const auto& row : rows) {
        std::fprintf(out, "  %-20s %8llu %8llu%s\n", row.label, row.a, row.b,
                     row.a != row.b ? "  *" : "");
    }
    for (const auto* side : {&a, &b}) {
        const char* name = side == &a ? "A" : "B";
        for (const auto& lock : side->leaks) {
            auto role = side->lockRole.find(lock.handle);
            std::fprintf(out, "%s leaked lock %d (%s)\n", name, lock.handle,
                         role != side->lockRole.end() ? role->second.c_str() : lock.origin.c_str());
        }
    }
}

}  // namespace qvnperfctl
