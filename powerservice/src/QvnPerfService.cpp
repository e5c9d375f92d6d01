// SPDX-License-Identifier: Apache-2.0
// The exported C surface: the lock protocol and the inspection API.

#include "QvnPerfService.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string>

#include "LockService.h"
#include "ResourceCatalog.h"
#include "ServiceLog.h"

using qvnperf::LockService;

namespace {

std::atomic<bool> gExitReport{true};

// Runs from the library's finaliser, after every static destructor and atexit
// handler, so locks released by other objects' destructors are not reported.
__attribute__((destructor)) void reportLeaksAtExit() {
    if (gExitReport.load(std::memory_order_relaxed)) {
        LockService::instance().reportLeaks(STDERR_FILENO);
    }
}

}  // namespace

extern "C" {

int perf_lock_acq(int handle, int duration, int* list, int numArgs) {
    return LockService::instance().acquire(handle, duration, list, numArgs);
}

int perf_lock_rel(int handle) {
    return LockService::instance().release(handle);
}

const char* qvnperf_resource_name(int id) {
    const qvnperf::ResourceInfo* r = qvnperf::findResource(id);
    return r ? r->name : nullptr;
}

int qvnperf_resource_label(int id, char* buf, size_t size) {
    const std::string label = qvnperf::resourceLabel(id);
    if (buf != nullptr && size > 0) {
        const size_t n = std::min(label.size(), size - 1);
        std::memcpy(buf, label.data(), n);
        buf[n] = '\0';
    }
    return static_cast<int>(label.size());
}

int qvnperf_resource_id(const char* name, int* id) {
    const qvnperf::ResourceInfo* r = qvnperf::findResource(name);
    if (r != nullptr && id != nullptr) {
        *id = r->id;
    }
    return r != nullptr;
}

int qvnperf_resource_permitted(int id) {
    const qvnperf::ResourceInfo* r = qvnperf::findResource(id);
    return r != nullptr && r->permitted;
}

int qvnperf_resource_kind(int id) {
    return static_cast<int>(qvnperf::kindOf(id));
}

const char* qvnperf_kind_name(int kind) {
    switch (kind) {
        case QVNPERF_KIND_FLOOR:
            return "floor";
        case QVNPERF_KIND_CAP:
            return "cap";
        case QVNPERF_KIND_LATEST:
            return "latest";
        default:
            return "unknown";
    }
}

uint64_t qvnperf_read_events(uint64_t cursor, QvnPerfEventFn fn, void* ctx) {
    return LockService::instance().readEvents(cursor, fn, ctx);
}

const char* qvnperf_event_kind_name(int kind) {
    switch (kind) {
        case QVNPERF_EV_GRANTED:
            return "GRANTED";
        case QVNPERF_EV_REISSUED:
            return "REISSUED";
        case QVNPERF_EV_RELEASED:
            return "RELEASED";
        case QVNPERF_EV_EXPIRED:
            return "EXPIRED";
        case QVNPERF_EV_REFUSED:
            return "REFUSED";
        case QVNPERF_EV_BAD_RELEASE:
            return "BAD_RELEASE";
        default:
            return "UNKNOWN";
    }
}

int qvnperf_get_locks(QvnPerfLockFn fn, void* ctx) {
    return LockService::instance().forEachLock(false, fn, ctx);
}

int qvnperf_get_leaks(QvnPerfLockFn fn, void* ctx) {
    return LockService::instance().forEachLock(true, fn, ctx);
}

int qvnperf_get_effective(QvnPerfEffective* out, int capacity) {
    return LockService::instance().effective(out, capacity);
}

int qvnperf_get_effective_value(int id, int* value) {
    return LockService::instance().effectiveValue(id, value);
}

void qvnperf_get_counters(QvnPerfCounters* out) {
    if (out != nullptr) {
        *out = LockService::instance().counters();
    }
}

int64_t qvnperf_now_us(void) {
    return LockService::nowUs();
}

void qvnperf_reset(void) {
    LockService::instance().reset();
}

void qvnperf_set_warnings(int on) {
    qvnperf::setWarningsEnabled(on != 0);
}

void qvnperf_set_exit_report(int on) {
    gExitReport.store(on != 0, std::memory_order_relaxed);
}

int qvnperf_report_leaks(int fd) {
    return LockService::instance().reportLeaks(fd);
}

int qvnperf_api_version(void) {
    return QVNPERF_API_VERSION;
}

}  // extern "C"
