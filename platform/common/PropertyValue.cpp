// SPDX-License-Identifier: Apache-2.0
#include "qvncam/platform/PropertyValue.h"

#include <cerrno>
#include <cinttypes>
#include <cstring>

#include "qvncam/platform/Properties.h"

namespace qvncam {
namespace platform {

PropertyInt readPropertyInt32(std::string_view text, int32_t defaultValue) {
    char buf[kPropertyValueMax] = {};
    const size_t len = copyPropertyValue(true, text, buf, "");
    if (len == 0)
        return {defaultValue, false, false};
    const int saved = errno;
    errno = 0;
    char* end = nullptr;
    const intmax_t result = std::strtoimax(buf, &end, 0);
    const bool overflow = (result == INTMAX_MIN || result == INTMAX_MAX) && errno == ERANGE;
    errno = saved;
    if (end == buf || overflow || result < INT32_MIN || result > INT32_MAX)
        return {defaultValue, false, false};
    // A NUL inside the value ends what libcutils sees; it is not "the whole value".
    return {static_cast<int32_t>(result), true, static_cast<size_t>(end - buf) == text.size()};
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
