#include "Commands.h"

#include <cstdio>

#include "ExitCodes.h"

namespace qvnperfctl {

bool wantsHelp(const std::vector<std::string>& args) {
    for (const auto& arg : args) {
        if (arg == "-h" || arg == "--help")
            return true;
    }
    return false;
}

int usageError(const std::string& command, const std::string& message) {
    std::fprintf(stderr, "qvnperfctl %s: %s\n", command.c_str(), message.c_str());
    std::fprintf(stderr, "Try 'qvnperfctl %s --help'.\n", command.c_str());
    return kExitUsage;
}

}  // namespace qvnperfctl
