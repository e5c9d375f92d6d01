// SPDX-License-Identifier: Apache-2.0
#pragma once

// Host-only control of the platform clock (qvncam/platform/Clock.h), for tests and the
// session simulator: the whole process, controller and host power service alike, can run
// on a virtual clock that stands still until the caller moves it.

#include <cstddef>
#include <cstdint>

namespace qvncam {
namespace host {

// Switches the process to a virtual clock reading `startUs` (microseconds on the system
// clock's scale) until it is advanced. Called again, it sets the clock, back or forward:
// pending waits keep their deadlines, and those it reaches end at once.
void useVirtualClock(int64_t startUs);
// Back to the system clock; waits still pending on the virtual clock end at once.
void useSystemClock();
bool virtualClockInUse();

// Moves the virtual clock forward to `us` (never back). Waits that fall due on the way end
// one at a time in the order of their deadlines, the clock reading each deadline in turn,
// and each only after the one before has been finished (its ClockWait destroyed). So do
// not advance the clock from a thread that holds a wait of its own.
void advanceClockTo(int64_t us);
// Sums that leave the int64_t range stop at its ends, as do deadlines.
void advanceClockBy(int64_t us);

// Waits registered with the virtual clock that have not yet ended.
size_t pendingClockWaits();

}  // namespace host
}  // namespace qvncam
