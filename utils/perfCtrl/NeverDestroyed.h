// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

// A static object built at compile time (T needs a constexpr default constructor) and never
// destroyed: operators and the controller may still use it during static destruction.
template <typename T>
union NeverDestroyed {
    T value;
    constexpr NeverDestroyed() : value() {}
    ~NeverDestroyed() {}
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
