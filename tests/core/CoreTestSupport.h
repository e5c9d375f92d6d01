// SPDX-License-Identifier: Apache-2.0
#pragma once

// Helpers shared by the core tests: log counts, dl call counts.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

namespace coretest {

inline int countOf(const std::string& text, const std::string& needle) {
    int n = 0;
    for (size_t pos = 0; (pos = text.find(needle, pos)) != std::string::npos; ++pos) {
        ++n;
    }
    return n;
}

// Android-log lines of this process with that priority and tag whose message starts with
// `message`. An error's suffix line " (func){#line:file}" is not counted as a message.
inline int countLog(const std::string& text, char prio, const char* tag,
                    const std::string& message = "") {
    const std::string head =
        std::string(1, prio) + "/" + tag + "(" + std::to_string(getpid()) + "): ";
    return countOf(text, head + message) - (message.empty() ? countOf(text, head + " (") : 0);
}

}  // namespace coretest

// Calls of dlopen ("open:FILE") and dlsym ("sym:SYMBOL") made by a test linked with
// DlCallCounter.cpp, so that it can tell whether a loader retried or cached.
int dlcount(const std::string& call, int add = 0);
void dlcountReset();
