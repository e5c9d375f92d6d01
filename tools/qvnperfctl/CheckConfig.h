#pragma once

// The checks of `qvnperfctl check-config` on a parsed JSON configuration.

#include <string>
#include <vector>

#include "JsonSource.h"

namespace qvnperfctl {

struct ConfigProblem {
    int line;
    std::string message;
};

// Every problem of the configuration, by line; empty when it is clean.
std::vector<ConfigProblem> checkConfiguration(const JsonSource& source);

}  // namespace qvnperfctl
