#pragma once

// How a property's text reads as a number or a switch, with libcutils' rules, for the
// back ends that interpret values themselves.

#include <cstdint>
#include <string_view>

namespace qvncam {
namespace platform {

// The whole text in base 10, 0x-hex or 0-octal with optional sign, when it fits in 32 bits.
bool parsePropertyInt32(std::string_view text, int32_t* out);
// "1", "y", "yes", "on", "true" -> true; "0", "n", "no", "off", "false" -> false; else
// false is returned and `out` left alone.
bool parsePropertyBool(std::string_view text, bool* out);
// property_get's answer for a value (`set` false: unset): copies it, or `defaultValue`
// when unset or empty, into `out` (kPropertyValueMax bytes); returns the length copied.
int copyPropertyValue(bool set, std::string_view value, char* out, const char* defaultValue);

}  // namespace platform
}  // namespace qvncam
