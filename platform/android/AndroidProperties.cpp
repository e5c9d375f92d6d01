// SPDX-License-Identifier: Apache-2.0
// System properties on a device: libcutils reads the property service, under the test
// hook's overrides.

#include "qvncam/platform/Properties.h"

#include <cutils/properties.h>

#include "qvncam/platform/PropertyValue.h"
#include "qvncam/platform/TestHook.h"

namespace qvncam {
namespace platform {

static_assert(kPropertyValueMax == PROPERTY_VALUE_MAX,
              "property buffer size differs from libcutils");

int property_get(const char* key, char* value, const char* defaultValue) {
    std::string overridden;
    if (propertyOverride(key, overridden))
        return copyPropertyValue(true, overridden, value, defaultValue);
    return ::property_get(key, value, defaultValue);
}

int32_t property_get_int32(const char* key, int32_t defaultValue) {
    std::string overridden;
    if (propertyOverride(key, overridden))
        return readPropertyInt32(overridden, defaultValue).value;
    return ::property_get_int32(key, defaultValue);
}

bool property_get_bool(const char* key, bool defaultValue) {
    std::string overridden;
    if (propertyOverride(key, overridden)) {
        bool parsed = defaultValue;
        parsePropertyBool(overridden, &parsed);
        return parsed;
    }
    return ::property_get_bool(key, defaultValue ? 1 : 0) != 0;
}

std::string property_get_string(const char* key, const char* defaultValue) {
    char value[PROPERTY_VALUE_MAX] = {};
    const int len = property_get(key, value, defaultValue);
    return std::string(value, len > 0 ? static_cast<size_t>(len) : 0);
}

}  // namespace platform
}  // namespace qvncam
