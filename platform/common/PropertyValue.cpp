#include "qvncam/platform/PropertyValue.h"

#include <cstring>

#include "qvncam/platform/Properties.h"

namespace qvncam {
namespace platform {

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
