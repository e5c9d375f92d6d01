// Recording stand-in for the power service's client library. Built twice: the full
// client, and (RECPOWER_NO_RELEASE) one that lacks the release entry.

#include "RecordingPowerClient.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <set>
#include <vector>

namespace {

struct State {
    std::mutex lock;
    int mode = RECPOWER_GRANT_ALL;
    int callsSinceMode = 0;
    int nextHandle = 1;
    std::vector<recpower::Acquire> acquires;
    std::vector<int> releases;
    std::set<int> live;
    std::map<int, int> releasesPerHandle;
    int badReleases = 0;
};

State& state() {
    static State s;
    return s;
}

bool grantNext(State& s) {
    const int call = s.callsSinceMode++;
    switch (s.mode) {
        case RECPOWER_REFUSE_ALL:
            return false;
        case RECPOWER_REFUSE_EVERY_OTHER:
            return call % 2 == 0;
        default:
            return true;
    }
}

}  // namespace

// Only the entries below leave the library.
#pragma GCC visibility push(default)
extern "C" {

int perf_lock_acq(int handle, int duration, int* list, int numArgs) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    recpower::Acquire a;
    a.handleIn = handle;
    a.duration = duration;
    if (list != nullptr && numArgs > 0) {
        a.list.assign(list, list + numArgs);
    }
    if (grantNext(s)) {
        if (handle > 0 && s.live.count(handle) != 0) {
            a.result = handle;
        } else {
            a.result = s.nextHandle++;
            s.live.insert(a.result);
        }
    } else {
        a.result = 0;
    }
    s.acquires.push_back(a);
    return a.result;
}

#ifndef RECPOWER_NO_RELEASE
int perf_lock_rel(int handle) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    s.releases.push_back(handle);
    s.releasesPerHandle[handle]++;
    if (s.live.erase(handle) == 0) {
        s.badReleases++;
        return -1;
    }
    return 0;
}
#endif

void recpower_reset(void) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    s.mode = RECPOWER_GRANT_ALL;
    s.callsSinceMode = 0;
    s.nextHandle = 1;
    s.acquires.clear();
    s.releases.clear();
    s.live.clear();
    s.releasesPerHandle.clear();
    s.badReleases = 0;
}

void recpower_set_mode(int mode) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    s.mode = mode;
    s.callsSinceMode = 0;
}

int recpower_acquire_count(void) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    return static_cast<int>(s.acquires.size());
}

int recpower_get_acquire(int i, int* handleIn, int* duration, int* result, int* list, int listCap) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (i < 0 || static_cast<size_t>(i) >= s.acquires.size()) {
        return -1;
    }
    const recpower::Acquire& a = s.acquires[static_cast<size_t>(i)];
    if (handleIn != nullptr)
        *handleIn = a.handleIn;
    if (duration != nullptr)
        *duration = a.duration;
    if (result != nullptr)
        *result = a.result;
    const int n = static_cast<int>(a.list.size());
    if (list != nullptr) {
        std::copy_n(a.list.begin(), std::min(n, std::max(listCap, 0)), list);
    }
    return n;
}

int recpower_release_count(void) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    return static_cast<int>(s.releases.size());
}

int recpower_get_release(int i) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (i < 0 || static_cast<size_t>(i) >= s.releases.size()) {
        return -1;
    }
    return s.releases[static_cast<size_t>(i)];
}

int recpower_get_live(int* out, int cap) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    int i = 0;
    for (int h : s.live) {
        if (out != nullptr && i < cap)
            out[i] = h;
        ++i;
    }
    return i;
}

int recpower_release_count_of(int handle) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    auto it = s.releasesPerHandle.find(handle);
    return it == s.releasesPerHandle.end() ? 0 : it->second;
}

int recpower_bad_release_count(void) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    return s.badReleases;
}

}  // extern "C"
#pragma GCC visibility pop
