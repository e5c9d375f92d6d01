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
#include <map>
#include <thread>

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
    enum class State { Pending, Due };
    struct Waiter {
        int64_t deadlineUs;
        State state;
    };
    Mutex mutex;
    std::condition_variable changed;
    // Tickets count up: ties go to the older wait.
    std::map<uint64_t, Waiter> byTicket QVNCAM_GUARDED_BY(mutex);
    uint64_t nextTicket QVNCAM_GUARDED_BY(mutex) = 1;
    Mutex advancing;  // one advance at a time; taken before `mutex`
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

// Ends at once the pending waits whose deadlines the clock reached without passing
// through them: it was set, not advanced.
void endWaitsDueBy(Waits& w, int64_t now) QVNCAM_REQUIRES(w.mutex) {
    for (auto& entry : w.byTicket) {
        if (entry.second.deadlineUs <= now) {
            entry.second.state = Waits::State::Due;
        }
    }
    w.changed.notify_all();
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
    if (now != kSystemClock) {
        mTicket = w.nextTicket++;
        w.byTicket.emplace(
            mTicket, Waits::Waiter{saturatingAdd(now, int64_t{ms} * 1000), Waits::State::Pending});
        // Only at the end of the scale is a deadline not ahead.
        endWaitsDueBy(w, now);
    }
}

ClockWait::ClockWait(ClockWait&& other) noexcept : mMs(other.mMs), mTicket(other.mTicket) {
    other.mTicket = 0;
}

ClockWait::~ClockWait() {
    if (mTicket == 0) {
        return;
    }
    Waits& w = waits();
    MutexLock lock(w.mutex);
    w.byTicket.erase(mTicket);
    w.changed.notify_all();
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
    w.changed.wait(lock.forWait(), [&]() QVNCAM_REQUIRES(w.mutex) {
        auto it = w.byTicket.find(mTicket);
        return it == w.byTicket.end() || it->second.state == Waits::State::Due;
    });
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
    for (auto& entry : w.byTicket) {
        entry.second.state = Waits::State::Due;
    }
    w.changed.notify_all();
}

bool virtualClockInUse() {
    return gVirtualNow.load(std::memory_order_acquire) != kSystemClock;
}

void advanceClockTo(int64_t us) {
    Waits& w = waits();
    MutexLock oneAtATime(w.advancing);
    platform::CondLock lock(w.mutex);
    for (;;) {
        const int64_t now = gVirtualNow.load(std::memory_order_relaxed);
        if (now == kSystemClock) {
            return;
        }
        auto next = w.byTicket.end();
        for (auto it = w.byTicket.begin(); it != w.byTicket.end(); ++it) {
            const Waits::Waiter& waiter = it->second;
            if (waiter.state == Waits::State::Pending && waiter.deadlineUs <= us &&
                (next == w.byTicket.end() || waiter.deadlineUs < next->second.deadlineUs)) {
                next = it;
            }
        }
        if (next == w.byTicket.end()) {
            if (us > now) {
                gVirtualNow.store(us, std::memory_order_release);
            }
            return;
        }
        if (next->second.deadlineUs > now) {
            gVirtualNow.store(next->second.deadlineUs, std::memory_order_release);
        }
        next->second.state = Waits::State::Due;
        const uint64_t ticket = next->first;
        w.changed.notify_all();
        // The woken thread finishes its work before the clock moves on, so that what
        // timers do happens in the order of their deadlines.
        w.changed.wait(lock.forWait(), [&]() QVNCAM_REQUIRES(w.mutex) {
            return w.byTicket.count(ticket) == 0 ||
                   gVirtualNow.load(std::memory_order_relaxed) == kSystemClock;
        });
    }
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
    size_t pending = 0;
    for (const auto& entry : w.byTicket) {
        pending += entry.second.state == Waits::State::Pending ? 1 : 0;
    }
    return pending;
}

}  // namespace host
}  // namespace qvncam
