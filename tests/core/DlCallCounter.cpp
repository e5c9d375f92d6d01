// SPDX-License-Identifier: Apache-2.0
// Counts the dlopen and dlsym calls of this test executable, linked with -Wl,--wrap for
// both.

#include <dlfcn.h>

#include <map>
#include <mutex>

#include "CoreTestSupport.h"

static std::mutex gMutex;

// Built on first use, which may come before this file's static initialisers have run, and
// never destroyed, since static destructors may still load something.
static std::map<std::string, int>& counts() {
    static auto* const map = new std::map<std::string, int>();
    return *map;
}

int dlcount(const std::string& call, int add) {
    std::lock_guard<std::mutex> g(gMutex);
    return counts()[call] += add;
}

void dlcountReset() {
    std::lock_guard<std::mutex> g(gMutex);
    counts().clear();
}

// The sanitizer runtimes resolve their own symbols through dlsym before they are set up,
// so the wrappers must not be instrumented and must leave those look-ups alone.
#if defined(__clang__)
#define DL_WRAPPER __attribute__((disable_sanitizer_instrumentation))
#else
#define DL_WRAPPER __attribute__((no_sanitize_thread, no_sanitize_address))
#endif

extern "C" {
void* __real_dlopen(const char* file, int flags);
void* __real_dlsym(void* handle, const char* symbol);

DL_WRAPPER void* __wrap_dlopen(const char* file, int flags) {
    dlcount(std::string("open:") + (file != nullptr ? file : ""), 1);
    return __real_dlopen(file, flags);
}
DL_WRAPPER void* __wrap_dlsym(void* handle, const char* symbol) {
    if (handle != RTLD_NEXT && handle != RTLD_DEFAULT) {
        dlcount(std::string("sym:") + symbol, 1);
    }
    return __real_dlsym(handle, symbol);
}
}  // extern "C"
