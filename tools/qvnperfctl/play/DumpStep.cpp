// SPDX-License-Identifier: Apache-2.0
// The `dump` step's notes: the controller's own dump beside the power service's live locks.

#include <qvncam_perfctrl.h>
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <regex>
#include <sstream>

#include "play/Simulation.h"
#include "play/Simulator.h"

namespace qvnperfctl {
namespace {

// The library writes to a descriptor; an anonymous temporary file takes it whole.
std::string captureDump() {
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::tmpfile(), &std::fclose);
    if (!file)
        return "qvncam_perfctrl_dump: no temporary file to write to\n";
    qvncam_perfctrl_dump(fileno(file.get()));
    std::rewind(file.get());
    std::string text;
    char buf[4096];
    for (size_t n; (n = std::fread(buf, 1, sizeof buf, file.get())) > 0;)
        text.append(buf, n);
    return text;
}

// A time of the session as the timeline's step column writes it.
std::string sessionTime(int64_t us) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f ms", static_cast<double>(us) / 1000.0);
    return text;
}

// The dump names this process and its wall-clock times, and boost operators carry their
// caller's thread id: on the virtual clock they become the simulated pipeline's task and
// times of the session, so that a run prints the same as the one before.
std::string stableLine(const std::string& line, int64_t nowUs) {
    static const std::regex header(R"(^qvncam_perfctrl, pid \d+, .*$)");
    static const std::regex since(R"(age (-?\d+) ms \(since [^)]*\))");
    const std::regex caller("\"(runPerfBoost|runDefaultBoost)-" + std::to_string(::gettid()) +
                            "\"");
    if (std::regex_match(line, header)) {
        return "qvncam_perfctrl, pid " + std::to_string(kSimulatedPipelineTid) + ", at " +
               sessionTime(nowUs);
    }
    std::string out =
        std::regex_replace(line, caller, "\"$1-" + std::to_string(kSimulatedPipelineTid) + "\"");
    std::smatch m;
    if (std::regex_search(out, m, since)) {
        const int64_t ageMs = std::stoll(m[1]);
        out = m.prefix().str() + "age " + m[1].str() + " ms (since " +
              sessionTime(nowUs - ageMs * 1000) + ")" + m.suffix().str();
    }
    return out;
}

std::string describeLock(const LockSummary& lock) {
    std::string text = std::to_string(lock.handle);
    if (lock.timeLeftMs < 0)
        return text + " (no expiry)";
    return text + " (" + std::to_string(lock.timeLeftMs) + " ms left)";
}

}  // namespace

std::vector<std::string> dumpStepNotes(const std::vector<LockSummary>& serviceLocks,
                                       std::optional<int64_t> virtualNowUs) {
    std::vector<std::string> notes;
    std::istringstream lines(captureDump());
    for (std::string line; std::getline(lines, line);)
        notes.push_back(virtualNowUs ? stableLine(line, *virtualNowUs) : line);
    std::string locks = "power service: " + std::to_string(serviceLocks.size()) + " live lock" +
                        (serviceLocks.size() == 1 ? "" : "s");
    for (size_t i = 0; i < serviceLocks.size(); ++i)
        locks += (i == 0 ? ": " : ", ") + describeLock(serviceLocks[i]);
    notes.push_back(locks);
    return notes;
}

}  // namespace qvnperfctl
