// SPDX-License-Identifier: Apache-2.0
#pragma once

// The project's strict integer reading, for its own inputs (scripts, configurations,
// the tool's arguments): the whole text is the number, an optional sign, the base from
// the prefix (0x or 0X hexadecimal, a leading 0 octal, else decimal), no blanks, and a
// value out of the caller's range is refused rather than clamped. Integer properties
// are read as libcutils reads them instead: PropertyValue.h.

#include <cstdint>
#include <limits>
#include <string_view>
#include <type_traits>

namespace qvncam {
namespace platform {

// False (and `out` untouched) unless `text` is an integer within [min, max].
template <typename T>
bool parseInt(std::string_view text, T* out, T min = std::numeric_limits<T>::min(),
              T max = std::numeric_limits<T>::max()) {
    static_assert(std::is_integral_v<T> && sizeof(T) <= sizeof(uint64_t), "integer types only");
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    unsigned base = 10;
    if (text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    } else if (!text.empty() && text[0] == '0') {
        base = 8;
    }
    if (text.empty())
        return false;
    uint64_t magnitude = 0;
    for (const char c : text) {
        unsigned digit;
        if (c >= '0' && c <= '9') {
            digit = static_cast<unsigned>(c - '0');
        } else if (c >= 'a' && c <= 'f') {
            digit = static_cast<unsigned>(c - 'a' + 10);
        } else if (c >= 'A' && c <= 'F') {
            digit = static_cast<unsigned>(c - 'A' + 10);
        } else {
            return false;
        }
        if (digit >= base || magnitude > (UINT64_MAX - digit) / base)
            return false;
        magnitude = magnitude * base + digit;
    }
    if (negative && magnitude != 0) {
        if constexpr (std::is_signed_v<T>) {
            if (magnitude > uint64_t{1} << 63)
                return false;
            // -magnitude, with -2^63 built without overflow.
            const int64_t value = -static_cast<int64_t>(magnitude - 1) - 1;
            if (value < static_cast<int64_t>(min) || value > static_cast<int64_t>(max))
                return false;
            *out = static_cast<T>(value);
            return true;
        } else {
            return false;
        }
    }
    if constexpr (std::is_signed_v<T>) {
        if (max < 0 || (min > 0 && magnitude < static_cast<uint64_t>(min)))
            return false;
    } else {
        if (magnitude < min)
            return false;
    }
    if (magnitude > static_cast<uint64_t>(max))
        return false;
    *out = static_cast<T>(magnitude);
    return true;
}

}  // namespace platform
}  // namespace qvncam
