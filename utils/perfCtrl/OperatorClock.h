#pragma once

#include <chrono>

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

using OperatorTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

// The one clock of operators: start times, expiry in isAlive() and the ages in the dump.
inline OperatorTime operatorNow() {
    return std::chrono::time_point_cast<std::chrono::microseconds>(
        std::chrono::system_clock::now());
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
