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

#include <type_traits>
#include <utility>
#include <vector>

enum RecPowerMode {
    RECPOWER_GRANT_ALL = 0,
    RECPOWER_REFUSE_ALL = 1,
    RECPOWER_REFUSE_EVERY_OTHER = 2,
};

extern "C" {
// The client's own entries.
int perf_lock_acq(int handle, int duration, int* list, int numArgs);
int perf_lock_rel(int handle);

// Clears every record and goes back to RECPOWER_GRANT_ALL with handles from 1.
void recpower_reset(void);
void recpower_set_mode(int mode);
int recpower_acquire_count(void);
// Copies acquire `i` (handle passed, duration, handle returned, up to listCap ints of its
// list); returns its numArgs, or -1 when there is no such acquire.
int recpower_get_acquire(int i, int* handleIn, int* duration, int* result, int* list, int listCap);
int recpower_release_count(void);
// Handle passed to release `i`, or -1 when there is no such release.
int recpower_get_release(int i);
// Granted and not yet released handles, ascending; returns how many there are.
int recpower_get_live(int* out, int cap);
// How often `handle` was passed to a release.
int recpower_release_count_of(int handle);
// Releases of handles that were not live at the time.
int recpower_bad_release_count(void);
}

namespace recpower {

struct Acquire {
    int handleIn = 0;
    int duration = 0;
    int result = 0;
    std::vector<int> list;
};

struct Api {
    decltype(&recpower_reset) reset = nullptr;
    decltype(&recpower_set_mode) setMode = nullptr;
    decltype(&recpower_acquire_count) acquireCount = nullptr;
    decltype(&recpower_get_acquire) getAcquire = nullptr;
    decltype(&recpower_release_count) releaseCount = nullptr;
    decltype(&recpower_get_release) getRelease = nullptr;
    decltype(&recpower_get_live) getLive = nullptr;
    decltype(&recpower_release_count_of) releaseCountOf = nullptr;
    decltype(&recpower_bad_release_count) badReleaseCount = nullptr;
};

// The recording API of the loaded client, or null when no recording client can be found.
inline const Api* api() {
    static const Api* cached = nullptr;
    if (cached != nullptr) {
        return cached;
    }
    void* lib = dlopen("libqvnperf_client_vendor.so", RTLD_NOW | RTLD_NOLOAD);
    if (lib == nullptr) {
        lib = dlopen("libqvnperf_client_vendor.so", RTLD_NOW);
    }
    if (lib == nullptr) {
        return nullptr;
    }
    static Api a;
    auto sym = [lib](auto& fn, const char* name) {
        fn = reinterpret_cast<std::remove_reference_t<decltype(fn)>>(dlsym(lib, name));
        return fn != nullptr;
    };
    bool ok = sym(a.reset, "recpower_reset") && sym(a.setMode, "recpower_set_mode") &&
              sym(a.acquireCount, "recpower_acquire_count") &&
              sym(a.getAcquire, "recpower_get_acquire") &&
              sym(a.releaseCount, "recpower_release_count") &&
              sym(a.getRelease, "recpower_get_release") && sym(a.getLive, "recpower_get_live") &&
              sym(a.releaseCountOf, "recpower_release_count_of") &&
              sym(a.badReleaseCount, "recpower_bad_release_count");
    if (!ok) {
        return nullptr;
    }
    cached = &a;
    return cached;
}

inline bool available() {
    return api() != nullptr;
}
inline void reset() {
    api()->reset();
}
inline void setMode(RecPowerMode mode) {
    api()->setMode(mode);
}

inline std::vector<Acquire> acquires() {
    std::vector<Acquire> out;
    const int n = api()->acquireCount();
    for (int i = 0; i < n; ++i) {
        Acquire a;
        const int numArgs = api()->getAcquire(i, &a.handleIn, &a.duration, &a.result, nullptr, 0);
        if (numArgs < 0) {
            break;
        }
        a.list.resize(static_cast<size_t>(numArgs));
        api()->getAcquire(i, &a.handleIn, &a.duration, &a.result, a.list.data(), numArgs);
        out.push_back(std::move(a));
    }
    return out;
}

inline std::vector<int> releases() {
    std::vector<int> out;
    const int n = api()->releaseCount();
    for (int i = 0; i < n; ++i) {
        out.push_back(api()->getRelease(i));
    }
    return out;
}

inline std::vector<int> live() {
    const int n = api()->getLive(nullptr, 0);
    std::vector<int> out(static_cast<size_t>(n));
    const int again = api()->getLive(out.data(), n);
    out.resize(static_cast<size_t>(again < n ? again : n));
    return out;
}

inline int releasesOf(int handle) {
    return api()->releaseCountOf(handle);
}
inline int badReleases() {
    return api()->badReleaseCount();
}

}  // namespace recpower
