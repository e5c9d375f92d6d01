// SPDX-License-Identifier: Apache-2.0
#pragma once

// The platform clock: the one time of the controller and of the host power service.
// On a device it is the system clock. On a host it is the system clock too, unless a
// host-only control (qvncam/platform/VirtualClock.h) switched the process to a virtual
// clock that its caller moves forward.

#include <cstdint>

namespace qvncam {
namespace platform {

// Now, in microseconds on the system clock's scale.
int64_t clock_now_us();

// A wait of `ms` milliseconds on the platform clock, counted from when the object is made.
// Make it on the thread that starts a timer and hand it to the timer's thread: a virtual
// clock then knows the wait before it can move past it. A wait of 0 or less ends at once.
class ClockWait {
  public:
    explicit ClockWait(int ms);
    // Trivial on a device, not on a host, whose virtual clock forgets the wait here.
    ~ClockWait();  // NOLINT(performance-trivially-destructible)
    ClockWait(ClockWait&& other) noexcept;
    ClockWait(const ClockWait&) = delete;
    ClockWait& operator=(const ClockWait&) = delete;
    ClockWait& operator=(ClockWait&&) = delete;

    // Returns once the time has come.
    void wait();

  private:
    int mMs;
    uint64_t mTicket;  // 0: not registered with a virtual clock
};

}  // namespace platform
}  // namespace qvncam
