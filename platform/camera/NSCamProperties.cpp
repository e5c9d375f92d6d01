// SPDX-License-Identifier: Apache-2.0
#include "NSCamProperties.h"

#include "qvncam/platform/Properties.h"

namespace NSCam {
namespace Utils {
namespace Properties {

int32_t property_get_int32(const char* key, int32_t defaultValue) {
    return ::qvncam::platform::property_get_int32(key, defaultValue);
}

}  // namespace Properties
}  // namespace Utils
}  // namespace NSCam
