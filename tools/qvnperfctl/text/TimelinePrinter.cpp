// SPDX-License-Identifier: Apache-2.0
#include "text/TimelinePrinter.h"

#include <algorithm>
#include <map>
#include <optional>

#include "script/ShownText.h"

namespace qvnperfctl {
namespace {

// Runs of at least this many entries without any lock event print as one line.
constexpr size_t kQuietRun = 3;
constexpr const char* kIndent = "             ";  // under the step column
constexpr size_t kRefusalsShown = 10;

std::string duration(int ms) {
    return ms == 0 ? "no expiry" : std::to_string(ms) + " ms";
}

class Printer {
  public:
    Printer(const Timeline& timeline, std::FILE* out) : mTimeline(timeline), mOut(out) {}

    void run() {
        printSetup();
        std::fprintf(mOut, "\n%10s  %s\n", "time", "step");
        const auto& entries = mTimeline.entries;
        for (size_t i = 0; i < entries.size();) {
            size_t quiet = i;
            while (quiet < entries.size() && isQuiet(entries[quiet]))
                ++quiet;
            if (quiet - i >= kQuietRun) {
                printQuietRun(entries[i], entries[quiet - 1], quiet - i);
                i = quiet;
            } else {
                printEntry(entries[i]);
                ++i;
            }
        }
        printSummary();
    }

  private:
    static bool isQuiet(const Entry& e) {
        return e.events.empty() && e.notes.empty() && e.marks.empty();
    }

    void printSetup() {
        std::fprintf(mOut, "qvnperfctl simulate %s\n", shownText(mTimeline.sessionPath).c_str());
        if (!mTimeline.description.empty()) {
            std::fprintf(mOut, "  %s\n", shownText(mTimeline.description).c_str());
        }
        for (const auto& [label, value] : mTimeline.setup) {
            std::fprintf(mOut, "  %-14s %s\n", label.c_str(), shownText(value).c_str());
        }
    }

    void printTime(int64_t us) {
        std::fprintf(mOut, "%7.1f ms  ", static_cast<double>(us) / 1000.0);
    }

    void printQuietRun(const Entry& first, const Entry& last, size_t count) {
        printTime(first.timeUs);
        std::fprintf(mOut, "%s ... %s: %zu steps, no lock changes\n", shownText(first.step).c_str(),
                     shownText(last.step).c_str(), count);
    }

    void printEntry(const Entry& e) {
        printTime(e.timeUs);
        std::fprintf(mOut, "%s", shownText(e.step).c_str());
        if (e.scriptLine > 0 && !e.perRequest)
            std::fprintf(mOut, "  [line %d]", e.scriptLine);
        std::fprintf(mOut, "\n");
        for (const auto& note : e.notes)
            std::fprintf(mOut, "%s%s\n", kIndent, shownText(note).c_str());
        for (const auto& mark : e.marks)
            std::fprintf(mOut, "%sevent      %s\n", kIndent, shownText(mark).c_str());
        for (const auto& event : e.events)
            printEvent(event);
        printEffectiveChanges(*e.effective);
    }

    std::string lockName(int handle) {
        std::string name = "lock " + std::to_string(handle);
        auto it = mTimeline.lockOrigin.find(handle);
        if (it != mTimeline.lockOrigin.end())
            name += " (" + it->second + ")";
        return shownText(name);
    }

    void printPairs(const std::vector<ResourceValue>& pairs) {
        for (const auto& p : pairs) {
            std::fprintf(mOut, "%s    %-40s %d\n", kIndent, p.name.c_str(), p.value);
        }
    }

    void printEvent(const LockEvent& e) {
        switch (e.kind) {
            case LockEventKind::Granted:
                std::fprintf(mOut, "%sgranted    lock %d, %s\n", kIndent, e.handle,
                             duration(e.durationMs).c_str());
                printPairs(e.pairs);
                break;
            case LockEventKind::Reissued:
                std::fprintf(mOut, "%sre-issued  %s, %s, adding\n", kIndent,
                             lockName(e.handle).c_str(), duration(e.durationMs).c_str());
                printPairs(e.pairs);
                break;
            case LockEventKind::Released:
                std::fprintf(mOut, "%sreleased   %s%s\n", kIndent, lockName(e.handle).c_str(),
                             e.afterExpiry ? ", after it had expired" : "");
                break;
            case LockEventKind::Expired:
                std::fprintf(mOut, "%sexpired    %s, %s\n", kIndent, lockName(e.handle).c_str(),
                             duration(e.durationMs).c_str());
                break;
            case LockEventKind::Refused:
                std::fprintf(mOut, "%srefused    request for handle %d: %s\n", kIndent, e.handle,
                             e.reason.c_str());
                break;
            case LockEventKind::BadRelease:
                std::fprintf(mOut, "%sBAD RELEASE of handle %d: %s\n", kIndent, e.handle,
                             e.reason.c_str());
                break;
        }
    }

    void printEffectiveChanges(const std::vector<ResourceValue>& now) {
        std::map<int, const ResourceValue*> current;
        for (const auto& v : now)
            current[v.id] = &v;
        std::map<int, std::pair<std::string, std::string>> changes;  // id -> name, text
        for (const auto& [id, v] : current) {
            auto was = mEffective.find(id);
            if (was == mEffective.end()) {
                changes[id] = {v->name, "none -> " + std::to_string(v->value)};
            } else if (was->second.value != v->value) {
                changes[id] = {
                    v->name, std::to_string(was->second.value) + " -> " + std::to_string(v->value)};
            }
        }
        for (const auto& [id, v] : mEffective) {
            if (!current.count(id)) {
                changes[id] = {v.name, std::to_string(v.value) + " -> none"};
            }
        }
        const char* head = "effective";
        for (const auto& [id, change] : changes) {
            std::fprintf(mOut, "%s%-10s %-40s %s\n", kIndent, head, change.first.c_str(),
                         change.second.c_str());
            head = "";
        }
        mEffective.clear();
        for (const auto& v : now)
            mEffective[v.id] = v;
    }

    void printLocks(const char* title, const std::vector<LockSummary>& locks) {
        if (locks.empty()) {
            std::fprintf(mOut, "%s: none\n", title);
        } else {
            std::fprintf(mOut, "%s: %zu\n", title, locks.size());
        }
        for (const auto& lock : locks) {
            std::fprintf(mOut, "  lock %d (%s), granted at %.1f ms, %s", lock.handle,
                         shownText(lock.origin).c_str(),
                         static_cast<double>(lock.grantedUs) / 1000.0,
                         duration(lock.durationMs).c_str());
            if (lock.timeLeftMs >= 0) {
                std::fprintf(mOut, ", %lld ms left", static_cast<long long>(lock.timeLeftMs));
            }
            std::fprintf(mOut, "\n");
            printPairs(lock.pairs);
        }
    }

    void printSummary() {
        printTime(mTimeline.endUs);
        std::fprintf(mOut, "end of session\n\n");
        std::fprintf(mOut, "effective values at the end:%s\n", mEffective.empty() ? " none" : "");
        for (const auto& [id, v] : mEffective) {
            std::fprintf(mOut, "  %-40s %d\n", v.name.c_str(), v.value);
        }
        const auto& c = mTimeline.counters;
        std::fprintf(
            mOut,
            "service counters: granted %llu, re-issued %llu, released %llu, expired "
            "%llu, released after expiry %llu, refused %llu, bad releases %llu, live "
            "%llu\n",
            static_cast<unsigned long long>(c.granted), static_cast<unsigned long long>(c.reissued),
            static_cast<unsigned long long>(c.released), static_cast<unsigned long long>(c.expired),
            static_cast<unsigned long long>(c.released_after_expiry),
            static_cast<unsigned long long>(c.refused),
            static_cast<unsigned long long>(c.bad_releases),
            static_cast<unsigned long long>(c.live));
        printLocks("timed locks still running", mTimeline.stillTimed);
        printLocks("leaked locks", mTimeline.leaks);
        printRefusals();
    }

    // Each refused request with the step that made it; a long run of them is cut short.
    void printRefusals() {
        const auto refused = mTimeline.counters.refused;
        std::fprintf(mOut, "refused requests: ");
        if (refused == 0) {
            std::fprintf(mOut, "none\n");
            return;
        }
        std::fprintf(mOut, "%llu\n", static_cast<unsigned long long>(refused));
        size_t shown = 0;
        for (const auto& e : mTimeline.entries) {
            for (const auto& event : e.events) {
                if (event.kind != LockEventKind::Refused || ++shown > kRefusalsShown)
                    continue;
                std::fprintf(mOut, "  at %.1f ms, %s", static_cast<double>(event.timeUs) / 1000.0,
                             shownText(e.step).c_str());
                if (e.scriptLine > 0)
                    std::fprintf(mOut, "  [line %d]", e.scriptLine);
                std::fprintf(mOut, ": %s\n", event.reason.c_str());
            }
        }
        if (shown > kRefusalsShown)
            std::fprintf(mOut, "  ... and %zu more\n", shown - kRefusalsShown);
    }

    const Timeline& mTimeline;
    std::FILE* mOut;
    std::map<int, ResourceValue> mEffective;
};

}  // namespace

void printTimeline(const Timeline& timeline, std::FILE* out) {
    Printer(timeline, out).run();
}

}  // namespace qvnperfctl
