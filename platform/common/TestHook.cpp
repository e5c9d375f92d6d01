// SPDX-License-Identifier: Apache-2.0
#include "qvncam/platform/TestHook.h"

#include <atomic>
#include <map>

#include "qvncam/platform/ThreadAnnotations.h"

namespace qvncam {
namespace platform {
namespace {

struct Hook {
    Mutex mutex;
    std::map<std::string, std::string, std::less<>> overrides QVNCAM_GUARDED_BY(mutex);
    LogSink sink QVNCAM_GUARDED_BY(mutex);
};

// Never destroyed: properties are read and lines logged from destructors at exit.
Hook& hook() {
    static Hook* const h = new Hook;
    return *h;
}

// Lets every property read and log line skip the lock while the hook is unused.
std::atomic<bool> gHaveOverrides{false};
std::atomic<bool> gHaveSink{false};
std::atomic<uint32_t> gGeneration{0};

void changed(const Hook& h) QVNCAM_REQUIRES(h.mutex) {
    gHaveOverrides.store(!h.overrides.empty(), std::memory_order_relaxed);
    gGeneration.fetch_add(1, std::memory_order_relaxed);
}

}  // namespace

void setPropertyOverride(std::string_view name, std::string_view value) {
    Hook& h = hook();
    MutexLock lock(h.mutex);
    h.overrides.insert_or_assign(std::string(name), std::string(value));
    changed(h);
}

void clearPropertyOverride(std::string_view name) {
    Hook& h = hook();
    MutexLock lock(h.mutex);
    auto it = h.overrides.find(name);
    if (it != h.overrides.end())
        h.overrides.erase(it);
    changed(h);
}

void clearPropertyOverrides() {
    Hook& h = hook();
    MutexLock lock(h.mutex);
    h.overrides.clear();
    changed(h);
}

bool propertyOverride(const char* name, std::string& value) {
    if (name == nullptr || !gHaveOverrides.load(std::memory_order_relaxed))
        return false;
    Hook& h = hook();
    MutexLock lock(h.mutex);
    auto it = h.overrides.find(std::string_view(name));
    if (it == h.overrides.end())
        return false;
    value = it->second;
    return true;
}

uint32_t propertyOverrideGeneration() {
    return gGeneration.load(std::memory_order_relaxed);
}

void setLogSink(LogSink sink) {
    Hook& h = hook();
    MutexLock lock(h.mutex);
    h.sink = std::move(sink);
    gHaveSink.store(static_cast<bool>(h.sink), std::memory_order_relaxed);
}

bool logSinkInstalled() {
    return gHaveSink.load(std::memory_order_relaxed);
}

void sendToLogSink(int prio, const char* tag, const char* message) {
    Hook& h = hook();
    MutexLock lock(h.mutex);
    if (h.sink)
        h.sink(prio, tag != nullptr ? tag : "", message != nullptr ? message : "");
}

}  // namespace platform
}  // namespace qvncam
