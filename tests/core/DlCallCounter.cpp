#include "DlCallCounter.h"

#include <dlfcn.h>

#include <atomic>
#include <map>
#include <mutex>

extern "C" {
void* __real_dlopen(const char* file, int flags);
void* __real_dlsym(void* handle, const char* symbol);
int __real_dlclose(void* handle);
}

namespace {

struct Counts {
    std::mutex lock;
    std::map<std::string, int> opens;
    std::map<std::string, int> lookups;
    std::atomic<int> closes{0};
};

Counts& counts() {
    static Counts* c = new Counts();  // outlives every static destructor that might dlclose
    return *c;
}

int get(std::map<std::string, int>& m, const std::string& key) {
    std::lock_guard<std::mutex> g(counts().lock);
    auto it = m.find(key);
    return it == m.end() ? 0 : it->second;
}

}  // namespace

extern "C" {

void* __wrap_dlopen(const char* file, int flags) {
    {
        std::lock_guard<std::mutex> g(counts().lock);
        counts().opens[file != nullptr ? file : ""]++;
    }
    return __real_dlopen(file, flags);
}

void* __wrap_dlsym(void* handle, const char* symbol) {
    {
        std::lock_guard<std::mutex> g(counts().lock);
        counts().lookups[symbol != nullptr ? symbol : ""]++;
    }
    return __real_dlsym(handle, symbol);
}

int __wrap_dlclose(void* handle) {
    counts().closes.fetch_add(1, std::memory_order_relaxed);
    return __real_dlclose(handle);
}

}  // extern "C"

namespace dlcount {

void reset() {
    std::lock_guard<std::mutex> g(counts().lock);
    counts().opens.clear();
    counts().lookups.clear();
    counts().closes.store(0, std::memory_order_relaxed);
}

int opens(const std::string& file) {
    return get(counts().opens, file);
}
int lookups(const std::string& symbol) {
    return get(counts().lookups, symbol);
}
int closes() {
    return counts().closes.load(std::memory_order_relaxed);
}

}  // namespace dlcount
