// SPDX-License-Identifier: Apache-2.0
#include "text/ComparisonPrinter.h"

#include <algorithm>
#include <string>

#include "script/ShownText.h"
#include "timeline/ValueLabels.h"

namespace qvnperfctl {
namespace {

std::string valueText(const std::string& name, const std::optional<int>& v) {
    return v ? formatValue(name, *v) : "not held";
}

std::string stepText(const SideDifference& d) {
    return shownText(d.step) + (d.scriptLine ? " [line " + std::to_string(d.scriptLine) + "]" : "");
}

void printHeader(const Timeline& a, const Timeline& b, const SideLabel& labelA,
                 const SideLabel& labelB, const TimeUnit& unit, std::FILE* out) {
    std::fprintf(out, "qvnperfctl compare %s\n", shownText(a.sessionPath).c_str());
    if (!a.description.empty())
        std::fprintf(out, "  %s\n", shownText(a.description).c_str());
    for (const auto* side : {&labelA, &labelB}) {
        std::fprintf(out, "  %s: %s\n", side->name.c_str(),
                     side->options.empty() ? "(no options)" : shownText(side->options).c_str());
    }
    if (a.endUs == b.endUs) {
        std::fprintf(out, "  session: %s\n\n", formatTime(a.endUs, unit).c_str());
    } else {
        std::fprintf(out, "  session: %s (A), %s (B)\n\n", formatTime(a.endUs, unit).c_str(),
                     formatTime(b.endUs, unit).c_str());
    }
}

void printDifferences(const Comparison& c, const TimeUnit& unit, std::FILE* out) {
    const auto first = c.first();
    if (!first) {
        std::fprintf(out,
                     "no difference: every resource holds the same values at the same times\n");
        return;
    }
    const SideDifference& d = first->first;
    std::fprintf(out, "first difference: %s, at %s\n", formatTime(d.timeUs, unit).c_str(),
                 stepText(d).c_str());
    std::fprintf(out, "  %s: A %s, B %s\n\n", readableName(first->name).c_str(),
                 valueText(first->name, d.a).c_str(), valueText(first->name, d.b).c_str());
    std::fprintf(out, "resources that differ: time at each effective value, A vs B\n");
    for (const auto& r : c.resources) {
        const std::string label = readableName(r.name);
        std::fprintf(out, "  %s%s, first differs at %s, %s\n", label.c_str(),
                     label == r.name ? "" : (" (" + r.name + ")").c_str(),
                     formatTime(r.first.timeUs, unit).c_str(), stepText(r.first).c_str());
        for (const auto& row : r.rows) {
            std::fprintf(out, "    %-28s %12s vs %s\n", row.label.c_str(),
                         formatTime(row.usBy[0], unit).c_str(),
                         formatTime(row.usBy[1], unit).c_str());
        }
    }
}

void printLockCounts(const Timeline& a, const Timeline& b, std::FILE* out) {
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
            std::fprintf(
                out, "%s leaked lock %d (%s)\n", name, lock.handle,
                shownText(role != side->lockRole.end() ? role->second : lock.origin).c_str());
        }
    }
}

}  // namespace

void printComparison(const Comparison& c, const Timeline& a, const Timeline& b,
                     const SideLabel& labelA, const SideLabel& labelB, std::FILE* out) {
    const TimeUnit unit = unitFor(std::max(a.endUs, b.endUs));
    printHeader(a, b, labelA, labelB, unit, out);
    printDifferences(c, unit, out);
    printLockCounts(a, b, out);
}

}  // namespace qvnperfctl
