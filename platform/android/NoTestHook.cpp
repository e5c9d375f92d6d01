// SPDX-License-Identifier: Apache-2.0
// The back ends' side of the test hook in a shipped library: no override, no sink. The
// setters are left undefined, so that a shipped library calling one fails to link.

#include "qvncam/platform/TestHook.h"

namespace qvncam {
namespace platform {

bool propertyOverride(const char* /*name*/, std::string& /*value*/) {
    return false;
}

uint32_t propertyOverrideGeneration() {
    return 0;
}

bool logSinkInstalled() {
    return false;
}

void sendToLogSink(int /*prio*/, const char* /*tag*/, const char* /*message*/) {}

}  // namespace platform
}  // namespace qvncam
