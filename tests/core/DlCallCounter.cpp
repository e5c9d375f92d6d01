// Counts the dlopen and dlsym calls of this test executable, linked with -Wl,--wrap for
// both.

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

extern "C" {
void* __real_dlopen(const char* file, int flags);
void* __real_dlsym(void* handle, const char* symbol);

void* __wrap_dlopen(const char* file, int flags) {
    dlcount(std::string("open:") + (file != nullptr ? file : ""), 1);
    return __real_dlopen(file, flags);
}
void* __wrap_dlsym(void* handle, const char* symbol) {
    dlcount(std::string("sym:") + symbol, 1);
    return __real_dlsym(handle, symbol);
}
}  // extern "C"
