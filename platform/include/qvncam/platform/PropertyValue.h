#pragma once

// How a property's text reads as a switch, and property_get's copy of a value, with
// libcutils' rules, for the back ends that interpret values themselves (numbers:
// ParseInt.h).

#include <cstdint>
#include <string_view>

namespace qvncam {
namespace platform {

// "1", "y", "yes", "on", "true" -> true; "0", "n", "no", "off", "false" -> false; else
// false is returned and `out` left alone.
bool parsePropertyBool(std::string_view text, bool* out);
// property_get's answer for a value (`set` false: unset): copies it, or `defaultValue`
// when unset or empty, into `out` (kPropertyValueMax bytes); returns the length copied.
int copyPropertyValue(bool set, std::string_view value, char* out, const char* defaultValue);

}  // namespace platform
}  // namespace qvncam
