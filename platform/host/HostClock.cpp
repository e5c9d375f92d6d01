// SPDX-License-Identifier: Apache-2.0
// The platform clock on a host: the system clock, or a virtual clock moved by its caller.
//
// It is a shared library of its own (libqvncam_clock.so) that the controller and the host
// power service both link. The service is a separate library that the controller only
// finds through dlopen, and tests link the controller's objects statically: a clock
// compiled into either would exist once per copy, and the virtual time one part sees
// would not be the other's. Here it exists once per process, so an operator's isAlive()
// and the service's expiry of the same lock always read the same time.

#include <atomic>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <memory>
#include <set>
#include <thread>
#include <unordered_map>
#include <utility>
#include <vector>

#include "qvncam/platform/Clock.h"
#include "qvncam/platform/ThreadAnnotations.h"
#include "qvncam/platform/VirtualClock.h"

namespace qvncam {
namespace {

constexpr int64_t kSystemClock = INT64_MIN;  // gVirtualNow when no virtual clock is in use

// Written only under Waits::mutex, so that a wait made meanwhile counts from a time the
// advancing thread has seen; read without it.
std::atomic<int64_t> gVirtualNow{kSystemClock};

struct Waits {
    struct Waiter {
        int64_t deadlineUs;
        bool due;
        // Only the wait's own thread sleeps on it, so ending one wait wakes no other.
        std::condition_variable* wake;
    };
    Mutex mutex;
    // Every registered wait until its ClockWait is destroyed.
    std::unordered_map<uint64_t, Waiter> byTicket QVNCAM_GUARDED_BY(mutex);
    // The waits not yet due, in the order they fall due. Tickets count up: ties go to the
    // older wait.
    std::set<std::pair<int64_t, uint64_t>> pending QVNCAM_GUARDED_BY(mutex);
    uint64_t nextTicket QVNCAM_GUARDED_BY(mutex) = 1;
    // Waiters' condition variables are reused, never freed: one may be notified after the
    // mutex is let go, when its wait may already be gone (a stray wakeup for the next
    // owner, which checks its flag again).
    std::vector<std::unique_ptr<std::condition_variable>> spareWakes QVNCAM_GUARDED_BY(mutex);
    // The advance under way: where it stops, and the wait it ended and waits to see
    // destroyed (0: none, the advance is over).
    int64_t targetUs QVNCAM_GUARDED_BY(mutex) = 0;
    uint64_t finishing QVNCAM_GUARDED_BY(mutex) = 0;
    std::condition_variable finished;  // the advancing thread sleeps on it
    Mutex advancing;                   // one advance at a time; taken before `mutex`
};

// Never destroyed: detached timer threads may still wait while the process exits.
Waits& waits() {
    static Waits* w = new Waits;
    return *w;
}

int64_t systemNowUs() {
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

// Virtual times stop at the ends of the scale rather than wrap.
int64_t saturatingAdd(int64_t a, int64_t b) {
    int64_t sum = 0;
    if (__builtin_add_overflow(a, b, &sum)) {
        return b > 0 ? INT64_MAX : INT64_MIN;
    }
    return sum;
}

// Ends the first pending wait; returns what its thread sleeps on.
std::condition_variable* endFirstPending(Waits& w) QVNCAM_REQUIRES(w.mutex) {
    Waits::Waiter& waiter = w.byTicket.at(w.pending.begin()->second);
    w.pending.erase(w.pending.begin());
    waiter.due = true;
    return waiter.wake;
}

// Ends at once the pending waits whose deadlines the clock reached without passing
// through them: it was set, not advanced.
void endWaitsDueBy(Waits& w, int64_t now) QVNCAM_REQUIRES(w.mutex) {
    while (!w.pending.empty() && w.pending.begin()->first <= now) {
        endFirstPending(w)->notify_one();
    }
}

// One step of the advance under way: ends the next wait due by its target, the clock
// reading that wait's deadline, or, when none is left, moves the clock to the target and
// ends the advance. Returns the condition variable to notify. The thread that destroys
// the ended wait takes the next step itself: each wait costs one thread switch rather
// than a round trip through the advancing thread.
std::condition_variable* advanceStep(Waits& w) QVNCAM_REQUIRES(w.mutex) {
    const int64_t now = gVirtualNow.load(std::memory_order_relaxed);
    w.finishing = 0;
    if (now == kSystemClock) {
        return &w.finished;
    }
    if (w.pending.empty() || w.pending.begin()->first > w.targetUs) {
        if (w.targetUs > now) {
            gVirtualNow.store(w.targetUs, std::memory_order_release);
        }
        return &w.finished;
    }
    const auto [deadline, ticket] = *w.pending.begin();
    if (deadline > now) {
        gVirtualNow.store(deadline, std::memory_order_release);
    }
    w.finishing = ticket;
    return endFirstPending(w);
}

}  // namespace

namespace platform {

int64_t clock_now_us() {
    const int64_t now = gVirtualNow.load(std::memory_order_acquire);
    return now != kSystemClock ? now : systemNowUs();
}

ClockWait::ClockWait(int ms) : mMs(ms), mTicket(0) {
    if (ms <= 0 || gVirtualNow.load(std::memory_order_acquire) == kSystemClock) {
        return;
    }
    Waits& w = waits();
    MutexLock lock(w.mutex);
    const int64_t now = gVirtualNow.load(std::memory_order_relaxed);
    if (now == kSystemClock) {
        return;
    }
    if (w.spareWakes.empty()) {
        w.spareWakes.push_back(std::make_unique<std::condition_variable>());
    }
    mTicket = w.nextTicket++;
    const int64_t deadline = saturatingAdd(now, int64_t{ms} * 1000);
    // The waiter owns its wake from here until it goes back to the spares.
    std::condition_variable* wake = w.spareWakes.back().release();
    w.spareWakes.pop_back();
    w.byTicket.emplace(mTicket, Waits::Waiter{deadline, false, wake});
    w.pending.emplace(deadline, mTicket);
    // Only at the end of the scale is a deadline not ahead.
    endWaitsDueBy(w, now);
}

ClockWait::ClockWait(ClockWait&& other) noexcept : mMs(other.mMs), mTicket(other.mTicket) {
    other.mTicket = 0;
}

ClockWait::~ClockWait() {
    if (mTicket == 0) {
        return;
    }
    Waits& w = waits();
    std::condition_variable* next = nullptr;
    {
        MutexLock lock(w.mutex);
        auto it = w.byTicket.find(mTicket);
        if (!it->second.due) {
            w.pending.erase({it->second.deadlineUs, mTicket});
        }
        w.spareWakes.emplace_back(it->second.wake);
        w.byTicket.erase(it);
        if (w.finishing == mTicket) {
            next = advanceStep(w);
        }
    }
    // Outside the mutex, so that the woken thread does not wake only to wait for it.
    if (next != nullptr) {
        next->notify_one();
    }
}

void ClockWait::wait() {
    if (mTicket == 0) {
        if (mMs > 0) {
            std::this_thread::sleep_for(std::chrono::milliseconds(mMs));
        }
        return;
    }
    Waits& w = waits();
    CondLock lock(w.mutex);
    const Waits::Waiter& waiter = w.byTicket.at(mTicket);
    waiter.wake->wait(lock.forWait(), [&] { return waiter.due; });
}

}  // namespace platform

namespace host {

void useVirtualClock(int64_t startUs) {
    Waits& w = waits();
    MutexLock lock(w.mutex);
    const int64_t now = startUs == kSystemClock ? startUs + 1 : startUs;
    gVirtualNow.store(now, std::memory_order_release);
    endWaitsDueBy(w, now);
}

void useSystemClock() {
    Waits& w = waits();
    MutexLock lock(w.mutex);
    gVirtualNow.store(kSystemClock, std::memory_order_release);
    endWaitsDueBy(w, INT64_MAX);
    w.finishing = 0;
    w.finished.notify_one();
}

bool virtualClockInUse() {
    return gVirtualNow.load(std::memory_order_acquire) != kSystemClock;
}

void advanceClockTo(int64_t us) {
    Waits& w = waits();
    MutexLock oneAtATime(w.advancing);
    platform::CondLock lock(w.mutex);
    w.targetUs = us;
    advanceStep(w)->notify_one();
    // Each woken thread finishes its work before the clock moves on, so that what timers
    // do happens in the order of their deadlines.
    w.finished.wait(lock.forWait(), [&]() QVNCAM_REQUIRES(w.mutex) { return w.finishing == 0; });
}

void advanceClockBy(int64_t us) {
    const int64_t now = gVirtualNow.load(std::memory_order_acquire);
    if (now != kSystemClock) {
        advanceClockTo(saturatingAdd(now, us));
    }
}

size_t pendingClockWaits() {
    Waits& w = waits();
    MutexLock lock(w.mutex);
    return w.pending.size();
}

}  // namespace host
}  // namespace qvncam
