// SPDX-License-Identifier: Apache-2.0
// The host's virtual clock: sequences of settings, advances (to a time or by a span), reads
// and short waits, each wait made here and handed to one of two helper threads as timers
// are. After each step the clock must read what a model of it says (never back while
// virtual, except when set; no wrap at the ends of the scale), every wait whose deadline
// the clock reached must have ended and no other.

#include <fuzzer/FuzzedDataProvider.h>

#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <mutex>
#include <optional>
#include <thread>

#include "qvncam/platform/Clock.h"
#include "qvncam/platform/VirtualClock.h"

namespace {

using qvncam::platform::ClockWait;
namespace host = qvncam::host;

#define CLOCK_CHECK(cond)                                                           \
    do {                                                                            \
        if (!(cond)) {                                                              \
            std::fprintf(stderr, "%s:%d: failed: %s\n", __FILE__, __LINE__, #cond); \
            std::abort();                                                           \
        }                                                                           \
    } while (0)

int64_t saturated(int64_t a, int64_t b) {
    int64_t sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? (b > 0 ? INT64_MAX : INT64_MIN) : sum;
}

// A timer thread: waits on what it is handed and says when the wait ended, before the
// wait is done with (an advance returns only after that).
class Helper {
  public:
    Helper() : mThread([this] { run(); }) {}
    ~Helper() {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            mQuit = true;
        }
        mChanged.notify_all();
        mThread.join();
    }
    bool busy() const { return mBusy; }
    int64_t deadline() const { return mDeadline; }
    void hand(ClockWait&& wait, int64_t deadline) {
        std::lock_guard<std::mutex> lock(mMutex);
        mWait.emplace(std::move(wait));
        mBusy = true;
        mEnded = false;
        mDeadline = deadline;
        mChanged.notify_all();
    }
    bool ended() {
        std::lock_guard<std::mutex> lock(mMutex);
        return mEnded;
    }
    // Real time, bounded: a wait that never ends is the failure looked for.
    bool awaitEnd() {
        std::unique_lock<std::mutex> lock(mMutex);
        const bool ended =
            mChanged.wait_for(lock, std::chrono::seconds(10), [this] { return mEnded; });
        mBusy = !ended;
        return ended;
    }

  private:
    void run() {
        for (;;) {
            std::optional<ClockWait> mine;
            {
                std::unique_lock<std::mutex> lock(mMutex);
                mChanged.wait(lock, [this] { return mQuit || mWait.has_value(); });
                if (!mWait.has_value()) {
                    return;
                }
                mine.emplace(std::move(*mWait));
                mWait.reset();
            }
            mine->wait();
            {
                std::lock_guard<std::mutex> lock(mMutex);
                mEnded = true;
            }
            mChanged.notify_all();
        }
    }

    std::mutex mMutex;
    std::condition_variable mChanged;
    std::optional<ClockWait> mWait;
    bool mEnded = false;
    bool mQuit = false;
    bool mBusy = false;     // only the driving thread reads and writes it
    int64_t mDeadline = 0;  // the same
    std::thread mThread;
};

struct Model {
    bool virtualTime = false;
    int64_t now = 0;
};

int64_t pickTime(FuzzedDataProvider& in, const Model& model) {
    static const int64_t kEdges[] = {INT64_MIN,           INT64_MIN + 1, -1,       0,
                                     INT64_MAX - 1000000, INT64_MAX - 1, INT64_MAX};
    switch (in.ConsumeIntegralInRange<int>(0, 2)) {
        case 0:
            return saturated(model.now, in.ConsumeIntegralInRange<int64_t>(-2000000, 2000000));
        case 1:
            return kEdges[in.ConsumeIntegralInRange<size_t>(0, std::size(kEdges) - 1)];
        default:
            return in.ConsumeIntegral<int64_t>();
    }
}

// Every wait the clock reached ends (all of them on the system clock), no other does, and
// the clock counts the rest as pending.
void settle(const Model& model, Helper (&helpers)[2]) {
    size_t pending = 0;
    for (Helper& h : helpers) {
        if (!h.busy()) {
            continue;
        }
        if (!model.virtualTime || h.deadline() <= model.now) {
            CLOCK_CHECK(h.awaitEnd());
        } else {
            CLOCK_CHECK(!h.ended());
            ++pending;
        }
    }
    CLOCK_CHECK(host::pendingClockWaits() == pending);
    CLOCK_CHECK(host::virtualClockInUse() == model.virtualTime);
    if (model.virtualTime) {
        CLOCK_CHECK(qvncam::platform::clock_now_us() == model.now);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    Model model;
    host::useSystemClock();
    {
        Helper helpers[2];
        for (int step = 0; step < 64 && in.remaining_bytes() > 0; ++step) {
            switch (in.ConsumeIntegralInRange<int>(0, 4)) {
                case 0: {  // set
                    const int64_t t = pickTime(in, model);
                    host::useVirtualClock(t);
                    model = {true, t == INT64_MIN ? t + 1 : t};
                    break;
                }
                case 1:
                    host::useSystemClock();
                    model.virtualTime = false;
                    break;
                case 2: {  // advance to
                    const int64_t t = pickTime(in, model);
                    host::advanceClockTo(t);
                    model.now = model.virtualTime && t > model.now ? t : model.now;
                    break;
                }
                case 3: {  // advance by
                    const int64_t by = in.ConsumeBool() ? in.ConsumeIntegral<int64_t>()
                                                        : in.ConsumeIntegralInRange(-1000, 1500000);
                    host::advanceClockBy(by);
                    const int64_t t = saturated(model.now, by);
                    model.now = model.virtualTime && t > model.now ? t : model.now;
                    break;
                }
                default: {  // a wait, while the clock is virtual: on the system clock it sleeps
                    const int ms = in.ConsumeBool() ? in.ConsumeIntegralInRange(-1, 1000)
                                                    : in.ConsumeIntegral<int>();
                    Helper* idle = !helpers[0].busy()   ? &helpers[0]
                                   : !helpers[1].busy() ? &helpers[1]
                                                        : nullptr;
                    if (idle != nullptr && model.virtualTime) {
                        ClockWait wait(ms);
                        idle->hand(std::move(wait),
                                   ms > 0 ? saturated(model.now, int64_t{ms} * 1000) : model.now);
                    }
                    break;
                }
            }
            settle(model, helpers);
        }
        host::useSystemClock();
        model.virtualTime = false;
        settle(model, helpers);
    }
    return 0;
}
