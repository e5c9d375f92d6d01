// SPDX-License-Identifier: Apache-2.0
#pragma once

// The subcommands; each takes the arguments after its name and returns the exit status.

#include <string>
#include <vector>

namespace qvnperfctl {

int runSimulate(const std::vector<std::string>& args);
int runCompare(const std::vector<std::string>& args);
int runCheckConfig(const std::vector<std::string>& args);
int runResources(const std::vector<std::string>& args);

}  // namespace qvnperfctl
