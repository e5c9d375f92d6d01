// SPDX-License-Identifier: Apache-2.0
#include "script/ShownText.h"

#include <cstdio>

namespace qvnperfctl {
namespace {

std::string unicodeEscape(unsigned code) {
    char buf[8];
    std::snprintf(buf, sizeof buf, "\\u%04x", code);
    return buf;
}

std::string escaped(const std::string& text, bool quoted) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        const auto u = static_cast<unsigned char>(text[i]);
        const auto next = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0u;
        if (quoted && (u == '"' || u == '\\')) {
            out += '\\';
            out += text[i];
        } else if (u < 0x20 || u == 0x7f) {
            out += unicodeEscape(u);
        } else if (u == 0xc2 && next >= 0x80 && next <= 0x9f) {
            // C1 controls in UTF-8: CSI (U+009B) starts escape sequences as ESC [ does.
            out += unicodeEscape(next);
            ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

}  // namespace

std::string shownText(const std::string& text) {
    return escaped(text, false);
}

std::string shownName(const std::string& name) {
    return "\"" + escaped(name, true) + "\"";
}

}  // namespace qvnperfctl
