// The `dump` step's notes: the controller's own dump beside the power service's live locks.

#include "play/Simulation.h"

#include <qvncam_perfctrl.h>

#include <cstdio>
#include <memory>
#include <sstream>

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

std::string describeLock(const LockSummary& lock) {
    std::string text = std::to_string(lock.handle);
    if (lock.timeLeftMs < 0)
        return text + " (no expiry)";
    return text + " (" + std::to_string(lock.timeLeftMs) + " ms left)";
}

}  // namespace

std::vector<std::string> dumpStepNotes(const std::vector<LockSummary>& serviceLocks) {
    std::vector<std::string> notes;
    std::istringstream lines(captureDump());
    for (std::string line; std::getline(lines, line);)
        notes.push_back(line);
    std::string locks = "power service: " + std::to_string(serviceLocks.size()) + " live lock" +
                        (serviceLocks.size() == 1 ? "" : "s");
    for (size_t i = 0; i < serviceLocks.size(); ++i)
        locks += (i == 0 ? ": " : ", ") + describeLock(serviceLocks[i]);
    notes.push_back(locks);
    return notes;
}

}  // namespace qvnperfctl
