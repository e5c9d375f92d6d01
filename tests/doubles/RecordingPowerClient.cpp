// SPDX-License-Identifier: Apache-2.0
// Recording stand-in for the power service's client library. Built three times: the full
// client, one that lacks the release entry (RECPOWER_NO_RELEASE) and one that lacks the
// acquire entry (RECPOWER_NO_ACQUIRE).

#include "RecordingPowerClient.h"

#include <mutex>

namespace {

struct State {
    int mode = RECPOWER_GRANT_ALL;
    int callsSinceMode = 0;
    int nextHandle = 1;
    recpower::Log log;
};

std::mutex gMutex;

// Built on first use; goes with the library.
State& state() {
    static State s;
    return s;
}

}  // namespace

// Only the entries below leave the library.
#pragma GCC visibility push(default)
extern "C" {

#ifndef RECPOWER_NO_ACQUIRE
int perf_lock_acq(int handle, int duration, int* list, int numArgs) {
    std::lock_guard<std::mutex> g(gMutex);
    State& s = state();
    const int call = s.callsSinceMode++;
    recpower::Acquire a{handle, duration, 0, {}};
    if (list != nullptr && numArgs > 0) {
        a.list.assign(list, list + numArgs);
    }
    if (s.mode == RECPOWER_GRANT_ALL || (s.mode == RECPOWER_REFUSE_EVERY_OTHER && call % 2 == 0)) {
        a.result = s.log.live.count(handle) != 0 ? handle : s.nextHandle++;
        s.log.live.insert(a.result);
    }
    s.log.acquires.push_back(a);
    return a.result;
}
#endif

#ifndef RECPOWER_NO_RELEASE
int perf_lock_rel(int handle) {
    std::lock_guard<std::mutex> g(gMutex);
    State& s = state();
    s.log.releases.push_back(handle);
    if (s.log.live.erase(handle) != 0) {
        return 0;
    }
    s.log.badReleases++;
    return -1;
}
#endif

void recpower_set_mode(int mode, bool clear) {
    std::lock_guard<std::mutex> g(gMutex);
    State& s = state();
    if (clear) {
        s = State();
    }
    s.mode = mode;
    s.callsSinceMode = 0;
}

void recpower_copy_log(recpower::Log* out) {
    std::lock_guard<std::mutex> g(gMutex);
    *out = state().log;
}

}  // extern "C"
#pragma GCC visibility pop
