// SPDX-License-Identifier: Apache-2.0
#pragma once

// The camera platform's property helpers.

#include <cstdint>

namespace NSCam {
namespace Utils {
namespace Properties {

int32_t property_get_int32(const char* key, int32_t defaultValue);

}  // namespace Properties
}  // namespace Utils
}  // namespace NSCam
