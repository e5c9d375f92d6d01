// SPDX-License-Identifier: Apache-2.0
#pragma once

// System properties, read with Android libcutils' rules on every back end.

#include <cstdint>
#include <string>

namespace qvncam {
namespace platform {

// Longest value a property can hold, terminator included (as PROPERTY_VALUE_MAX).
constexpr size_t kPropertyValueMax = 92;

// Copies the value of `key` (or `defaultValue` when unset or empty) into `value`, which
// holds kPropertyValueMax bytes; returns the length copied.
int property_get(const char* key, char* value, const char* defaultValue);
// The value's numeric prefix in base 10, 0x-hex or 0-octal with optional sign and leading
// blanks, when it fits in 32 bits ("2.5GHz" reads 2); otherwise `defaultValue`.
int32_t property_get_int32(const char* key, int32_t defaultValue);
// "1", "y", "yes", "on", "true" -> true; "0", "n", "no", "off", "false" -> false.
bool property_get_bool(const char* key, bool defaultValue);
// As property_get, so at most kPropertyValueMax - 1 characters.
std::string property_get_string(const char* key, const char* defaultValue);

}  // namespace platform
}  // namespace qvncam
