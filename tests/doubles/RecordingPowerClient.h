// SPDX-License-Identifier: Apache-2.0
#pragma once

// Reaches the recording power-service client ("libqvnperf_client_vendor.so" built
// from RecordingPowerClient.cpp) from a test. The library is found by the bare name
// through LD_LIBRARY_PATH, so the test sees the very copy the controller loaded; if
// the controller has not loaded it yet, the first use here loads it.
//
// Answers (set with setMode, counted from the last reset or setMode):
//   RECPOWER_GRANT_ALL            every acquire succeeds; new locks get 1, 2, 3, ...
//   RECPOWER_REFUSE_ALL           every acquire returns 0
//   RECPOWER_REFUSE_EVERY_OTHER   the 1st, 3rd, 5th ... acquire succeed, the others return 0
// An acquire on a live handle (a re-issue) keeps that handle when granted; when refused
// it returns 0 and the old lock stays live. A release of a handle that is not live (never
// granted, or already released) is counted as a bad release.

#include <dlfcn.h>

#include <algorithm>
#include <set>
#include <vector>

enum RecPowerMode { RECPOWER_GRANT_ALL, RECPOWER_REFUSE_ALL, RECPOWER_REFUSE_EVERY_OTHER };

namespace recpower {

struct Acquire {
    int handleIn = 0;
    int duration = 0;
    int result = 0;
    std::vector<int> list;
};

// What the client saw since the last reset.
struct Log {
    std::vector<Acquire> acquires;
    std::vector<int> releases;
    std::set<int> live;   // granted and not yet released
    int badReleases = 0;  // releases of handles that were not live
};

}  // namespace recpower

extern "C" {
// The client's own entries.
int perf_lock_acq(int handle, int duration, int* list, int numArgs);
int perf_lock_rel(int handle);
// Answers in `mode` from now on; `clear` also forgets the log and restarts handles at 1.
void recpower_set_mode(int mode, bool clear);
void recpower_copy_log(recpower::Log* out);
}

namespace recpower {

struct Api {
    decltype(&recpower_set_mode) setMode = nullptr;
    decltype(&recpower_copy_log) copyLog = nullptr;
};

// The recording API of the loaded client, or null when no recording client can be found.
inline const Api* api() {
    static const Api* const cached = []() -> const Api* {
        static Api a;
        void* lib = dlopen("libqvnperf_client_vendor.so", RTLD_NOW);
        auto sym = [lib](const char* name) { return lib != nullptr ? dlsym(lib, name) : nullptr; };
        a.setMode = reinterpret_cast<decltype(a.setMode)>(sym("recpower_set_mode"));
        a.copyLog = reinterpret_cast<decltype(a.copyLog)>(sym("recpower_copy_log"));
        return a.setMode != nullptr && a.copyLog != nullptr ? &a : nullptr;
    }();
    return cached;
}

inline bool available() {
    return api() != nullptr;
}
inline void reset() {
    api()->setMode(RECPOWER_GRANT_ALL, true);
}
inline void setMode(RecPowerMode mode) {
    api()->setMode(mode, false);
}

inline Log log() {
    Log out;
    api()->copyLog(&out);
    return out;
}
inline std::vector<Acquire> acquires() {
    return log().acquires;
}
inline std::vector<int> releases() {
    return log().releases;
}
// Granted and not yet released handles, ascending.
inline std::vector<int> live() {
    const Log l = log();
    return std::vector<int>(l.live.begin(), l.live.end());
}
// How often `handle` was passed to a release.
inline int releasesOf(int handle) {
    const std::vector<int> r = releases();
    return static_cast<int>(std::count(r.begin(), r.end(), handle));
}
inline int badReleases() {
    return log().badReleases;
}

}  // namespace recpower
