// SPDX-License-Identifier: Apache-2.0
// Fuzz set-up on a Linux host: in-process property overrides, files in memory.

#include <stdlib.h>
#include <unistd.h>

#include "FuzzSupportCommon.h"
#include "qvncam/platform/HostControl.h"

namespace fuzzsupport {

void setProperty(const char* name, const std::string& value) {
    qvncam::host::setProperty(name, value);
}

// Rewriting a file on disk can cost milliseconds; /dev/shm keeps the inputs in memory.
std::string scratchPath(const char* tag) {
    static const std::string dir = access("/dev/shm", W_OK) == 0 ? "/dev/shm/" : "/tmp/";
    return dir + "qvncam_fuzz_" + tag + "_" + std::to_string(getpid());
}

void quietController() {
    // The unified logger's sink writes nowhere without a file.
    unsetenv("QVNCAM_ULOG_FILE");
    unsetenv("QVNCAM_TRACE_FILE");
    quietControllerCommon();
}

}  // namespace fuzzsupport
