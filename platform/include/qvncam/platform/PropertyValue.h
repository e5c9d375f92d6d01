// SPDX-License-Identifier: Apache-2.0
#pragma once

// How a property's text reads as a number or a switch, and property_get's copy of a
// value, with libcutils' rules, for the back ends that interpret values themselves and
// for the tool that warns of values a device reads differently than they look.

#include <cstdint>
#include <string_view>

namespace qvncam {
namespace platform {

// What property_get_int32 makes of a value: strtoimax with the base from the prefix
// ("0x" hex, "0" octal), leading blanks and a sign allowed, and a numeric prefix is
// enough ("2.5GHz" reads 2, "0x" reads 0). The default comes back when no digit was read,
// on overflow, or outside the 32-bit range. Only the first kPropertyValueMax - 1
// characters count, as property_get keeps no more.
struct PropertyInt {
    int32_t value;
    bool numeric;  // a number was read: `value` is it, not the default
    bool whole;    // ... and it was the whole value, nothing left after it
};
PropertyInt readPropertyInt32(std::string_view text, int32_t defaultValue);

// "1", "y", "yes", "on", "true" -> true; "0", "n", "no", "off", "false" -> false; else
// false is returned and `out` left alone.
bool parsePropertyBool(std::string_view text, bool* out);
// property_get's answer for a value (`set` false: unset): copies it, or `defaultValue`
// when unset or empty, into `out` (kPropertyValueMax bytes); returns the length copied.
int copyPropertyValue(bool set, std::string_view value, char* out, const char* defaultValue);

}  // namespace platform
}  // namespace qvncam
