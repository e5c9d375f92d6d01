// SPDX-License-Identifier: Apache-2.0
#pragma once

// simulate's command line, also read by compare for each of its two sides.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "commands/CommandLine.h"

namespace qvnperfctl {

struct SimulateOptions {
    std::string session;
    std::string custom;
    std::string config;
    std::vector<std::pair<std::string, std::string>> props;
    std::string trace;
    std::string svg;
    std::string timeline;   // the timeline as JSON, for compare
    bool realTime = false;  // let the session's time pass for real
    bool help = false;
};

// simulate's options, which compare's sides take too.
const std::vector<LongOption>& simulateOptions();

// Parses the command line; an empty optional result means it was fine.
std::optional<std::string> parseSimulateOptions(const std::vector<std::string>& args,
                                                SimulateOptions& out);

}  // namespace qvnperfctl
