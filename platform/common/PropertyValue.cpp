#include "qvncam/platform/PropertyValue.h"

#include <cstring>

#include "qvncam/platform/Properties.h"

namespace qvncam {
namespace platform {

bool parsePropertyInt32(std::string_view text, int32_t* out) {
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
    const uint64_t limit = negative ? 0x80000000ull : 0x7fffffffull;
    uint64_t magnitude = 0;
    for (char c : text) {
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
        if (digit >= base)
            return false;
        magnitude = magnitude * base + digit;
        if (magnitude > limit)
            return false;
    }
    *out = negative ? static_cast<int32_t>(-static_cast<int64_t>(magnitude))
                    : static_cast<int32_t>(magnitude);
    return true;
}

bool parsePropertyBool(std::string_view text, bool* out) {
    if (text == "1" || text == "y" || text == "yes" || text == "on" || text == "true") {
        *out = true;
        return true;
    }
    if (text == "0" || text == "n" || text == "no" || text == "off" || text == "false") {
        *out = false;
        return true;
    }
    return false;
}

int copyPropertyValue(bool set, std::string_view value, char* out, const char* defaultValue) {
    size_t len = 0;
    if (set) {
        len = value.size() < kPropertyValueMax - 1 ? value.size() : kPropertyValueMax - 1;
        std::memcpy(out, value.data(), len);
    }
    // As libcutils: an empty value reads as unset.
    if (len == 0) {
        len = defaultValue != nullptr ? ::strnlen(defaultValue, kPropertyValueMax - 1) : 0;
        if (len > 0)
            std::memcpy(out, defaultValue, len);
    }
    out[len] = '\0';
    return static_cast<int>(len);
}

}  // namespace platform
}  // namespace qvncam
