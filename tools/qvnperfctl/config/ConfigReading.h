// SPDX-License-Identifier: Apache-2.0
#pragma once

// The checks of `qvnperfctl check-config` on a JSON configuration, read as the
// controller reads it.

#include <optional>
#include <string>
#include <vector>

#include "script/JsonSource.h"

namespace qvnperfctl {

struct ConfigProblem {
    int line;
    std::string message;
};

// One command list the controller takes from the file.
struct SentList {
    bool present = false;    // the section is in the file, so it replaces the
                             // customisation library's answer
    std::vector<int> pairs;  // resource id, value, ... in the order sent
    std::string note;        // why the list is empty or shorter than the section
};

struct ConfigReading {
    std::vector<ConfigProblem> problems;  // by line; empty when the file is clean
    SentList enterCamera;                 // "enter_cam"
    SentList configureStream;             // "config_cam"
};

// Reads a parsed configuration as the controller does and lints it.
ConfigReading readConfiguration(const JsonSource& source);

// Every problem of the configuration, by line; empty when it is clean.
inline std::vector<ConfigProblem> checkConfiguration(const JsonSource& source) {
    return readConfiguration(source).problems;
}

}  // namespace qvnperfctl
