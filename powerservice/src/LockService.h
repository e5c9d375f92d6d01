// SPDX-License-Identifier: Apache-2.0
#pragma once

// The service's whole state: live locks, the event log and the counters, behind
// one mutex held only for short, bounded work. Nothing runs in the background:
// each call first expires the locks whose duration has run out.

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

#include "QvnPerfService.h"

namespace qvnperf {

class LockService {
  public:
    // Never destroyed, so that releases and the leak report stay safe during exit.
    static LockService& instance();

    int acquire(int handle, int duration, const int* list, int numArgs);
    int release(int handle);

    uint64_t readEvents(uint64_t cursor, QvnPerfEventFn fn, void* ctx);
    int forEachLock(bool leaksOnly, QvnPerfLockFn fn, void* ctx);
    int effective(QvnPerfEffective* out, int capacity);
    bool effectiveValue(int id, int* value);
    QvnPerfCounters counters();
    void reset();
    int reportLeaks(int fd);

    static int64_t nowUs();

  private:
    struct Lock {
        int handle = 0;
        uint64_t order = 0;
        int64_t grantedUs = 0;
        int64_t issuedUs = 0;
        int durationMs = 0;
        uint64_t stamp = 0;  // last grant or re-issue, for "most recent wins"
        int reissues = 0;
        std::vector<QvnPerfPair> pairs;

        int64_t deadlineUs() const;  // INT64_MAX without expiry
    };

    struct Event {
        uint64_t seq = 0;
        int kind = 0;
        int flags = 0;
        int handle = 0;
        int durationMs = 0;
        int64_t timeUs = 0;
        int numArgs = 0;
        const char* reason = nullptr;
        std::vector<QvnPerfPair> pairs;
        std::vector<QvnPerfPair> lockPairs;
    };

    struct Winner {
        int value = 0;
        int handle = 0;
        uint64_t stamp = 0;
        int holders = 0;
    };

    LockService() = default;

    void expireLocked(int64_t now);
    void pushEventLocked(Event ev);
    static size_t eventBytes(const Event& ev);
    // Copies of the live locks (only those without expiry when leaksOnly), at `now`.
    std::vector<Lock> liveLocks(bool leaksOnly, int64_t& now);
    std::map<int, Winner> effectiveLocked() const;
    static void layPairs(std::vector<QvnPerfPair>& dst, const std::vector<QvnPerfPair>& src);

    std::mutex mMutex;
    std::map<int, Lock> mLive;  // by handle, which is also the order of creation
    // Expired locks not yet released, so that their release is not a bad one;
    // bounded, oldest forgotten first.
    std::unordered_set<int> mExpired;
    std::deque<int> mExpiredOrder;
    std::deque<Event> mEvents;
    size_t mEventBytes = 0;  // eventBytes() of every event in mEvents
    uint64_t mNextSeq = 1;
    uint64_t mNextStamp = 1;
    uint64_t mNextOrder = 1;
    int mNextHandle = 1;  // never reset: handles are not reused in the process
    QvnPerfCounters mCounters{};
};

}  // namespace qvnperf
