// qvnperfctl check-config on any file: it reports and exits with a status, never crashes.

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "Commands.h"
#include "ExitCodes.h"
#include "FuzzSupport.h"

namespace qvnperfctl {

// These two live beside the tool's main(), which a fuzz target cannot link.
bool wantsHelp(const std::vector<std::string>& args) {
    for (const auto& a : args) {
        if (a == "-h" || a == "--help") {
            return true;
        }
    }
    return false;
}

int usageError(const std::string& command, const std::string& message) {
    std::fprintf(stderr, "qvnperfctl %s: %s\n", command.c_str(), message.c_str());
    return kExitUsage;
}

}  // namespace qvnperfctl

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // The report goes to standard output; the fuzzer only cares whether it gets there.
    if (std::freopen("/dev/null", "w", stdout) == nullptr) {
        return 1;
    }
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string path = fuzzsupport::writeInput("check_config", data, size);
    const int status = qvnperfctl::runCheckConfig({path});
    if (status != qvnperfctl::kExitOk && status != qvnperfctl::kExitProblems) {
        __builtin_trap();  // a readable file is checked: ok or problems
    }
    return 0;
}
