// SPDX-License-Identifier: Apache-2.0
// qvnperfctl check-config on any file: it reports and exits with a status, never crashes.

#include <cstdint>
#include <cstdio>

#include "commands/Commands.h"
#include "commands/ExitCodes.h"
#include "FuzzSupport.h"

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
