#pragma once

// The subcommands; each takes the arguments after its name and returns the exit status.

#include <string>
#include <vector>

namespace qvnperfctl {

int runSimulate(const std::vector<std::string>& args);
int runCompare(const std::vector<std::string>& args);
int runCheckConfig(const std::vector<std::string>& args);
int runResources(const std::vector<std::string>& args);

// True when `args` asks for help (-h or --help anywhere).
bool wantsHelp(const std::vector<std::string>& args);
// Prints "qvnperfctl COMMAND: message" and a hint to stderr; returns kExitUsage.
int usageError(const std::string& command, const std::string& message);

}  // namespace qvnperfctl
