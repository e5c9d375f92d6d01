// SPDX-License-Identifier: Apache-2.0
#pragma once

// Text from a script, a file or the command line as the tool shows it back on a terminal:
// control characters escaped, so that none of them acts on the terminal or cuts a line.

#include <string>

namespace qvnperfctl {

// `text` with C0 and C1 control characters (NUL and DEL included) written as \u00XX.
std::string shownText(const std::string& text);

// A name as a message quotes it: in double quotes, with quotes and backslashes escaped
// besides the control characters.
std::string shownName(const std::string& name);

}  // namespace qvnperfctl
