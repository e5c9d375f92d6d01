// SPDX-License-Identifier: Apache-2.0
#pragma once

// The host property file's format, shared by the host back end and qvnperfctl so that
// both read a file alike: one name=value per line, blanks around name and value dropped;
// empty lines, '#' comments, lines without '=' and empty names skipped.

#include <string_view>

namespace qvncam {
namespace platform {

inline bool isPropertyBlank(char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f';
}

inline std::string_view trimPropertyBlanks(std::string_view s) {
    while (!s.empty() && isPropertyBlank(s.front()))
        s.remove_prefix(1);
    while (!s.empty() && isPropertyBlank(s.back()))
        s.remove_suffix(1);
    return s;
}

// Calls fn(name, value) for every property line of `text`, in file order.
template <typename Fn>
void forEachPropertyLine(std::string_view text, Fn&& fn) {
    while (!text.empty()) {
        const size_t eol = text.find('\n');
        const std::string_view line = trimPropertyBlanks(text.substr(0, eol));
        text.remove_prefix(eol == std::string_view::npos ? text.size() : eol + 1);
        if (line.empty() || line.front() == '#')
            continue;
        const size_t eq = line.find('=');
        if (eq == std::string_view::npos)
            continue;
        const std::string_view name = trimPropertyBlanks(line.substr(0, eq));
        if (!name.empty())
            fn(name, trimPropertyBlanks(line.substr(eq + 1)));
    }
}

}  // namespace platform
}  // namespace qvncam
