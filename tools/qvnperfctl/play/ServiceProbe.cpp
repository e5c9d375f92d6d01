// SPDX-License-Identifier: Apache-2.0
#include "play/ServiceProbe.h"

#include <QvnPerfService.h>

namespace qvnperfctl {
namespace {

std::string label(int id) {
    char buf[QVNPERF_NAME_MAX];
    qvnperf_resource_label(id, buf, sizeof buf);
    return buf;
}

std::vector<ResourceValue> toValues(const QvnPerfPair* pairs, int count) {
    std::vector<ResourceValue> values;
    for (int i = 0; pairs && i < count; ++i) {
        values.push_back({pairs[i].id, pairs[i].value, label(pairs[i].id)});
    }
    return values;
}

LockEventKind toKind(int kind) {
    switch (kind) {
        case QVNPERF_EV_GRANTED:
            return LockEventKind::Granted;
        case QVNPERF_EV_REISSUED:
            return LockEventKind::Reissued;
        case QVNPERF_EV_RELEASED:
            return LockEventKind::Released;
        case QVNPERF_EV_EXPIRED:
            return LockEventKind::Expired;
        case QVNPERF_EV_REFUSED:
            return LockEventKind::Refused;
        default:
            return LockEventKind::BadRelease;
    }
}

struct LockCollector {
    int64_t originUs;
    std::vector<LockSummary> locks;

    static void add(const QvnPerfLockInfo* lock, void* ctx) {
        auto* self = static_cast<LockCollector*>(ctx);
        self->locks.push_back({lock->handle,
                               {},
                               lock->duration_ms,
                               lock->granted_us - self->originUs,
                               lock->time_left_ms,
                               toValues(lock->pairs, lock->num_pairs)});
    }
};

}  // namespace

ServiceProbe::ServiceProbe() : mOriginUs(qvnperf_now_us()) {
    mCursor = qvnperf_read_events(
        0, [](const QvnPerfEvent*, void*) {}, nullptr);
}

int64_t ServiceProbe::nowUs() const {
    return qvnperf_now_us() - mOriginUs;
}

std::vector<LockEvent> ServiceProbe::takeEvents() {
    struct Ctx {
        int64_t originUs;
        std::vector<LockEvent> events;
    } ctx{mOriginUs, {}};
    mCursor = qvnperf_read_events(
        mCursor,
        [](const QvnPerfEvent* e, void* p) {
            auto* c = static_cast<Ctx*>(p);
            LockEvent event;
            event.kind = toKind(e->kind);
            event.handle = e->handle;
            event.durationMs = e->duration_ms;
            event.timeUs = e->time_us - c->originUs;
            event.afterExpiry = (e->flags & QVNPERF_EVF_AFTER_EXPIRY) != 0;
            event.reason = e->reason ? e->reason : "";
            event.pairs = toValues(e->pairs, e->num_pairs);
            event.lockPairs = toValues(e->lock_pairs, e->num_lock_pairs);
            c->events.push_back(std::move(event));
        },
        &ctx);
    return std::move(ctx.events);
}

std::vector<ResourceValue> ServiceProbe::effective() const {
    // The set can grow between the sizing call and the fill; retry until it fits.
    std::vector<QvnPerfEffective> raw;
    int total = qvnperf_get_effective(nullptr, 0);
    do {
        raw.resize(static_cast<size_t>(total) + 8);
        total = qvnperf_get_effective(raw.data(), static_cast<int>(raw.size()));
    } while (static_cast<size_t>(total) > raw.size());
    std::vector<ResourceValue> values;
    for (int i = 0; i < total; ++i)
        values.push_back({raw[i].id, raw[i].value, raw[i].name});
    return values;
}

QvnPerfCounters ServiceProbe::counters() const {
    QvnPerfCounters c{};
    qvnperf_get_counters(&c);
    return c;
}

std::vector<LockSummary> ServiceProbe::liveLocks() const {
    LockCollector collector{mOriginUs, {}};
    qvnperf_get_locks(&LockCollector::add, &collector);
    return collector.locks;
}

std::optional<int64_t> ServiceProbe::nextExpiryUs() const {
    struct Ctx {
        int64_t originUs;
        std::optional<int64_t> next;
    } ctx{mOriginUs, std::nullopt};
    qvnperf_get_locks(
        [](const QvnPerfLockInfo* lock, void* p) {
            auto* c = static_cast<Ctx*>(p);
            if (lock->duration_ms <= 0)
                return;
            int64_t due = lock->issued_us + int64_t{lock->duration_ms} * 1000 - c->originUs;
            if (!c->next || due < *c->next)
                c->next = due;
        },
        &ctx);
    return ctx.next;
}

}  // namespace qvnperfctl
