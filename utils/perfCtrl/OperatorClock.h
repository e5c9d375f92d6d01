// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "PerfOperatorImp.h"
#include "qvncam/platform/Clock.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

// The one clock of operators: start times, expiry in isAlive() and the ages in the dump.
inline PerfOperatorImp::TimePoint operatorNow() {
    return PerfOperatorImp::TimePoint(std::chrono::microseconds(qvncam::platform::clock_now_us()));
}

// Whole milliseconds from `start` to `now`, truncated: how isAlive() and the dump count age.
inline long long millisBetween(PerfOperatorImp::TimePoint start, PerfOperatorImp::TimePoint now) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(now - start).count();
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
