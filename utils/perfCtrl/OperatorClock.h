#pragma once

#include <chrono>

#include "qvncam/platform/Clock.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

using OperatorTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

// The one clock of operators: start times, expiry in isAlive() and the ages in the dump.
inline OperatorTime operatorNow() {
    return OperatorTime(std::chrono::microseconds(qvncam::platform::clock_now_us()));
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
