// SPDX-License-Identifier: Apache-2.0
#include "LockService.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <unordered_map>

#include "ResourceCatalog.h"
#include "qvncam/platform/Clock.h"
#include "ServiceLog.h"

namespace qvnperf {
namespace {

constexpr size_t kMaxExpiredRemembered = 65536;
constexpr size_t kMaxLockResources = QVNPERF_MAX_ARGS / 2;
constexpr int64_t kNoDeadline = INT64_MAX;

const char* malformed(int duration, const int* list, int numArgs) {
    if (numArgs < 0) {
        return "negative count";
    }
    if (numArgs % 2 != 0) {
        return "odd count: the list is (resource, value) pairs";
    }
    if (numArgs > QVNPERF_MAX_ARGS) {
        return "count beyond 1024";
    }
    if (list == nullptr && numArgs > 0) {
        return "null list with a non-zero count";
    }
    if (duration < 0) {
        return "negative duration";
    }
    return nullptr;
}

std::string describePairs(const std::vector<QvnPerfPair>& pairs) {
    if (pairs.empty()) {
        return "(no resources)";
    }
    std::string s;
    for (const QvnPerfPair& p : pairs) {
        if (!s.empty()) {
            s += ' ';
        }
        s += resourceLabel(p.id);
        s += '=';
        s += std::to_string(p.value);
    }
    return s;
}

}  // namespace

LockService& LockService::instance() {
    static LockService* service = new LockService;
    return *service;
}

int64_t LockService::Lock::deadlineUs() const {
    return durationMs == 0 ? kNoDeadline : issuedUs + int64_t{durationMs} * 1000;
}

// The controller's clock, so that a test or a simulation on virtual time moves both.
int64_t LockService::nowUs() {
    return qvncam::platform::clock_now_us();
}

// A resource named twice takes the later value and keeps its first place.
void LockService::layPairs(std::vector<QvnPerfPair>& dst, const std::vector<QvnPerfPair>& src) {
    std::unordered_map<int, size_t> index;
    index.reserve(dst.size() + src.size());
    for (size_t i = 0; i < dst.size(); ++i) {
        index.emplace(dst[i].id, i);
    }
    for (const QvnPerfPair& p : src) {
        auto [it, added] = index.emplace(p.id, dst.size());
        if (added) {
            dst.push_back(p);
        } else {
            dst[it->second].value = p.value;
        }
    }
}

int LockService::acquire(int handle, int duration, const int* list, int numArgs) {
    const char* reason = malformed(duration, list, numArgs);
    std::vector<QvnPerfPair> request;
    if (reason == nullptr) {
        request.reserve(static_cast<size_t>(numArgs / 2));
        for (int i = 0; i < numArgs; i += 2) {
            request.push_back({list[i], list[i + 1]});
        }
    }

    int result = 0;
    {
        std::lock_guard<std::mutex> guard(mMutex);
        const int64_t now = nowUs();
        expireLocked(now);
        auto live = reason ? mLive.end() : mLive.find(handle);
        if (live != mLive.end()) {
            Lock& lock = live->second;
            std::vector<QvnPerfPair> merged = lock.pairs;
            layPairs(merged, request);
            if (merged.size() > kMaxLockResources) {
                reason = "the lock would hold more than 512 resources";
            } else {
                lock.pairs = std::move(merged);
                lock.issuedUs = now;
                lock.durationMs = duration;
                lock.stamp = mNextStamp++;
                ++lock.reissues;
                ++mCounters.reissued;
                result = handle;
                pushEventLocked({0, QVNPERF_EV_REISSUED, 0, handle, duration, now, numArgs, nullptr,
                                 std::move(request), lock.pairs});
            }
        } else if (reason == nullptr && mLive.size() >= QVNPERF_MAX_LOCKS) {
            reason = "too many live locks";
        } else if (reason == nullptr && mNextHandle == INT_MAX) {
            reason = "no handles left";
        } else if (reason == nullptr) {
            Lock lock;
            lock.handle = mNextHandle++;
            lock.order = mNextOrder++;
            lock.grantedUs = lock.issuedUs = now;
            lock.durationMs = duration;
            lock.stamp = mNextStamp++;
            layPairs(lock.pairs, request);
            ++mCounters.granted;
            result = lock.handle;
            pushEventLocked({0, QVNPERF_EV_GRANTED, 0, result, duration, now, numArgs, nullptr,
                             std::move(request), lock.pairs});
            mLive.emplace(result, std::move(lock));
        }
        if (reason != nullptr) {
            ++mCounters.refused;
            pushEventLocked(
                {0, QVNPERF_EV_REFUSED, 0, handle, duration, now, numArgs, reason, {}, {}});
        }
    }
    if (reason != nullptr) {
        warn("perf_lock_acq(handle=%d, duration=%d, numArgs=%d) refused: %s", handle, duration,
             numArgs, reason);
    }
    return result;
}

int LockService::release(int handle) {
    const char* reason = nullptr;
    {
        std::lock_guard<std::mutex> guard(mMutex);
        const int64_t now = nowUs();
        expireLocked(now);
        auto live = mLive.find(handle);
        if (live != mLive.end()) {
            ++mCounters.released;
            pushEventLocked({0,
                             QVNPERF_EV_RELEASED,
                             0,
                             handle,
                             live->second.durationMs,
                             now,
                             0,
                             nullptr,
                             {},
                             std::move(live->second.pairs)});
            mLive.erase(live);
        } else if (mExpired.erase(handle) != 0) {
            ++mCounters.released_after_expiry;
            pushEventLocked({0,
                             QVNPERF_EV_RELEASED,
                             QVNPERF_EVF_AFTER_EXPIRY,
                             handle,
                             0,
                             now,
                             0,
                             nullptr,
                             {},
                             {}});
        } else {
            reason = handle >= 1 && handle < mNextHandle ? "already released" : "unknown handle";
            ++mCounters.bad_releases;
            pushEventLocked({0, QVNPERF_EV_BAD_RELEASE, 0, handle, 0, now, 0, reason, {}, {}});
        }
    }
    if (reason != nullptr) {
        warn("perf_lock_rel(%d) ignored: %s", handle, reason);
        return -1;
    }
    return 0;
}

// Expiry events carry the moment the duration ran out, in deadline order, so the
// log stays in time order however late the expiry is noticed.
void LockService::expireLocked(int64_t now) {
    std::vector<Lock*> due;
    for (auto& entry : mLive) {
        if (entry.second.deadlineUs() <= now) {
            due.push_back(&entry.second);
        }
    }
    if (due.empty()) {
        return;
    }
    std::sort(due.begin(), due.end(), [](const Lock* a, const Lock* b) {
        const int64_t da = a->deadlineUs(), db = b->deadlineUs();
        return da != db ? da < db : a->handle < b->handle;
    });
    for (Lock* lock : due) {
        const int handle = lock->handle;
        ++mCounters.expired;
        pushEventLocked({0,
                         QVNPERF_EV_EXPIRED,
                         0,
                         handle,
                         lock->durationMs,
                         lock->deadlineUs(),
                         0,
                         nullptr,
                         {},
                         std::move(lock->pairs)});
        mExpired.insert(handle);
        mExpiredOrder.push_back(handle);
        mLive.erase(handle);
    }
    while (mExpiredOrder.size() > kMaxExpiredRemembered) {
        mExpired.erase(mExpiredOrder.front());
        mExpiredOrder.pop_front();
    }
}

// What an event holds on the heap: one event may carry two lists of 512 pairs, so the log
// is bounded by this rather than by its length.
size_t LockService::eventBytes(const Event& ev) {
    return sizeof(Event) + (ev.pairs.capacity() + ev.lockPairs.capacity()) * sizeof(QvnPerfPair);
}

void LockService::pushEventLocked(Event ev) {
    ev.seq = mNextSeq++;
    mEventBytes += eventBytes(ev);
    mEvents.push_back(std::move(ev));
    // The newest event always stays.
    while (mEvents.size() > 1 && mEventBytes > QVNPERF_EVENT_LOG_BYTES) {
        mEventBytes -= eventBytes(mEvents.front());
        mEvents.pop_front();
        ++mCounters.events_dropped;
    }
}

uint64_t LockService::readEvents(uint64_t cursor, QvnPerfEventFn fn, void* ctx) {
    std::vector<Event> batch;
    {
        std::lock_guard<std::mutex> guard(mMutex);
        expireLocked(nowUs());
        if (mEvents.empty() || cursor >= mEvents.back().seq) {
            return cursor;
        }
        const uint64_t first = mEvents.front().seq;
        const size_t start = cursor < first ? 0 : static_cast<size_t>(cursor - first + 1);
        batch.assign(mEvents.begin() + static_cast<std::ptrdiff_t>(start), mEvents.end());
    }
    for (const Event& e : batch) {
        if (fn != nullptr) {
            const QvnPerfEvent c{e.seq,
                                 e.kind,
                                 e.flags,
                                 e.handle,
                                 e.durationMs,
                                 e.timeUs,
                                 e.numArgs,
                                 e.reason,
                                 static_cast<int>(e.pairs.size()),
                                 e.pairs.data(),
                                 static_cast<int>(e.lockPairs.size()),
                                 e.lockPairs.data()};
            fn(&c, ctx);
        }
    }
    return batch.back().seq;
}

std::vector<LockService::Lock> LockService::liveLocks(bool leaksOnly, int64_t& now) {
    std::vector<Lock> copies;
    std::lock_guard<std::mutex> guard(mMutex);
    now = nowUs();
    expireLocked(now);
    for (const auto& entry : mLive) {
        if (!leaksOnly || entry.second.durationMs == 0) {
            copies.push_back(entry.second);
        }
    }
    return copies;
}

int LockService::forEachLock(bool leaksOnly, QvnPerfLockFn fn, void* ctx) {
    int64_t now = 0;
    const std::vector<Lock> copies = liveLocks(leaksOnly, now);
    for (const Lock& l : copies) {
        if (fn != nullptr) {
            const int64_t left = l.durationMs == 0 ? -1 : (l.deadlineUs() - now + 999) / 1000;
            const QvnPerfLockInfo info{
                l.handle,      l.order, l.grantedUs, l.issuedUs,
                l.durationMs,  left,    l.reissues,  static_cast<int>(l.pairs.size()),
                l.pairs.data()};
            fn(&info, ctx);
        }
    }
    return static_cast<int>(copies.size());
}

// Floors: highest wins; caps: lowest wins; switches, modes and unknown ids: the
// most recently granted or re-issued lock wins. Ties go to the most recent lock.
std::map<int, LockService::Winner> LockService::effectiveLocked() const {
    std::map<int, Winner> winners;
    for (const auto& entry : mLive) {
        const Lock& lock = entry.second;
        for (const QvnPerfPair& p : lock.pairs) {
            auto [it, added] = winners.try_emplace(p.id);
            Winner& w = it->second;
            ++w.holders;
            bool take = added;
            if (!added) {
                const bool newer = lock.stamp > w.stamp;
                switch (kindOf(p.id)) {
                    case ResourceKind::Floor:
                        take = p.value > w.value || (p.value == w.value && newer);
                        break;
                    case ResourceKind::Cap:
                        take = p.value < w.value || (p.value == w.value && newer);
                        break;
                    case ResourceKind::Latest:
                        take = newer;
                        break;
                }
            }
            if (take) {
                w.value = p.value;
                w.handle = lock.handle;
                w.stamp = lock.stamp;
            }
        }
    }
    return winners;
}

int LockService::effective(QvnPerfEffective* out, int capacity) {
    std::map<int, Winner> winners;
    {
        std::lock_guard<std::mutex> guard(mMutex);
        expireLocked(nowUs());
        winners = effectiveLocked();
    }
    int n = 0;
    for (const auto& [id, w] : winners) {
        if (out != nullptr && n < capacity) {
            QvnPerfEffective& e = out[n];
            const ResourceInfo* info = findResource(id);
            e.id = id;
            e.value = w.value;
            e.kind = static_cast<int>(kindOf(id));
            e.known = info != nullptr;
            e.handle = w.handle;
            e.holders = w.holders;
            std::snprintf(e.name, sizeof e.name, "%s", resourceLabel(id).c_str());
        }
        ++n;
    }
    return n;
}

bool LockService::effectiveValue(int id, int* value) {
    std::lock_guard<std::mutex> guard(mMutex);
    expireLocked(nowUs());
    const std::map<int, Winner> winners = effectiveLocked();
    auto it = winners.find(id);
    if (it == winners.end()) {
        return false;
    }
    if (value != nullptr) {
        *value = it->second.value;
    }
    return true;
}

QvnPerfCounters LockService::counters() {
    std::lock_guard<std::mutex> guard(mMutex);
    expireLocked(nowUs());
    QvnPerfCounters c = mCounters;
    c.live = mLive.size();
    return c;
}

void LockService::reset() {
    std::lock_guard<std::mutex> guard(mMutex);
    mLive.clear();
    mExpired.clear();
    mExpiredOrder.clear();
    mEvents.clear();
    mEventBytes = 0;
    mCounters = QvnPerfCounters{};
    mNextOrder = 1;
}

int LockService::reportLeaks(int fd) {
    int64_t now = 0;
    const std::vector<Lock> leaks = liveLocks(true, now);
    for (const Lock& leak : leaks) {
        writeLogLine(fd, 'W',
                     "leaked lock " + std::to_string(leak.handle) + " (held " +
                         std::to_string((now - leak.grantedUs) / 1000) +
                         " ms, never released): " + describePairs(leak.pairs));
    }
    return static_cast<int>(leaks.size());
}

}  // namespace qvnperf
