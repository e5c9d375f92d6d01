#pragma once

// Helpers shared by the core tests: log and trace capture, property set-up, polling.

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "qvncam/platform/HostControl.h"

namespace coretest {

// Start of an Android-log line of this process on standard error, e.g. "W/PerfCtrlHelper(42): ".
inline std::string logPrefix(char prio, const char* tag) {
    return std::string(1, prio) + "/" + tag + "(" + std::to_string(getpid()) + "): ";
}

inline int countOf(const std::string& text, const std::string& needle) {
    int n = 0;
    for (size_t pos = text.find(needle); pos != std::string::npos;
         pos = text.find(needle, pos + needle.size())) {
        ++n;
    }
    return n;
}

// Number of log lines with priority `prio` and tag `tag` whose message starts with `message`.
inline int countLog(const std::string& text, char prio, const char* tag,
                    const std::string& message) {
    return countOf(text, logPrefix(prio, tag) + message);
}

// Number of messages logged with `prio` and `tag`. A message with an inner newline comes
// out as several lines; the continuation holding the error suffix " (func){#line:file}"
// is not counted.
inline int countMessages(const std::string& text, char prio, const char* tag) {
    return countLog(text, prio, tag, "") - countLog(text, prio, tag, " (");
}

// The rest of the first line logged with that start, up to the end of its line.
inline std::string logLine(const std::string& text, char prio, const char* tag,
                           const std::string& message) {
    const size_t pos = text.find(logPrefix(prio, tag) + message);
    if (pos == std::string::npos) {
        return std::string();
    }
    const size_t end = text.find('\n', pos);
    return text.substr(pos, end == std::string::npos ? std::string::npos : end - pos);
}

// Debug lines of the controller need detail level 5 and the module's mask bits.
inline void enableDebugLog() {
    qvncam::host::setProperty("vendor.debug.qvncam.ulog.detail", "5");
    qvncam::host::setProperty("vendor.debug.qvncam.ulog.mask", "0x1001000");
    qvncam::host::setProperty("vendor.debug.qvncam.ulog.mode", "1");
    qvncam::host::reloadULogger();
}

inline void setCameraTrace(bool on) {
    qvncam::host::setProperty("debug.atrace.tags.enableflags", on ? "0x400" : "0");
}

inline void setPerfLogLevel(int level) {
    qvncam::host::setProperty("vendor.cam3perfctrl.log", std::to_string(level));
}

// Polls `done` until it holds or a generous deadline passes.
inline bool waitFor(const std::function<bool()>& done,
                    std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

struct TraceEvent {
    char kind = 0;  // 'S' begin, 'F' end
    std::string name;
    int cookie = 0;
    bool operator==(const TraceEvent& o) const {
        return kind == o.kind && name == o.name && cookie == o.cookie;
    }
};

inline std::ostream& operator<<(std::ostream& os, const TraceEvent& e) {
    return os << e.kind << "|" << e.name << "|" << e.cookie;
}

// The slices this process wrote to $QVNCAM_TRACE_FILE.
inline std::vector<TraceEvent> traceEvents() {
    std::vector<TraceEvent> out;
    const char* path = std::getenv("QVNCAM_TRACE_FILE");
    std::ifstream in(path != nullptr ? path : "");
    const std::string pid = std::to_string(getpid());
    std::string line;
    while (std::getline(in, line)) {
        std::vector<std::string> f;
        std::stringstream ss(line);
        std::string part;
        while (std::getline(ss, part, '|')) {
            f.push_back(part);
        }
        if (f.size() == 4 && f[1] == pid && (f[0] == "S" || f[0] == "F")) {
            out.push_back(TraceEvent{f[0][0], f[2], std::atoi(f[3].c_str())});
        }
    }
    return out;
}

}  // namespace coretest
