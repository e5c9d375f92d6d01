// SPDX-License-Identifier: Apache-2.0
// Fuzz set-up on a device: property overrides of the platform's test hook, files under
// /data/local/tmp.

#include <unistd.h>

#include "FuzzSupportCommon.h"
#include "qvncam/platform/TestHook.h"

namespace fuzzsupport {

void setProperty(const char* name, const std::string& value) {
    qvncam::platform::setPropertyOverride(name, value);
}

std::string scratchPath(const char* tag) {
    return std::string("/data/local/tmp/qvncam_fuzz_") + tag + "_" + std::to_string(getpid());
}

void quietController() {
    quietControllerCommon();
}

}  // namespace fuzzsupport
