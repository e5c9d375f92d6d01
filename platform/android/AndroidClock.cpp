// SPDX-License-Identifier: Apache-2.0
// The platform clock on a device: the system clock, and plain sleeps.

#include "qvncam/platform/Clock.h"

#include <chrono>
#include <thread>

namespace qvncam {
namespace platform {

int64_t clock_now_us() {
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

ClockWait::ClockWait(int ms) : mMs(ms), mTicket(0) {}

ClockWait::~ClockWait() = default;

ClockWait::ClockWait(ClockWait&& other) noexcept : mMs(other.mMs), mTicket(other.mTicket) {}

void ClockWait::wait() {
    if (mMs > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(mMs));
    }
}

}  // namespace platform
}  // namespace qvncam
