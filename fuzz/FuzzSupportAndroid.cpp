// Fuzz set-up on a device (the fuzzer runs as root): system properties, files under
// /data/local/tmp.

#include <cutils/properties.h>
#include <unistd.h>

#include "FuzzSupportCommon.h"

namespace fuzzsupport {

void setProperty(const char* name, const std::string& value) {
    property_set(name, value.c_str());
}

std::string scratchPath(const char* tag) {
    return std::string("/data/local/tmp/qvncam_fuzz_") + tag + "_" + std::to_string(getpid());
}

void quietController() {
    quietControllerCommon();
}

}  // namespace fuzzsupport
