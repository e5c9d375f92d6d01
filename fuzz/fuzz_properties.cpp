// SPDX-License-Identifier: Apache-2.0
// The host property file: any bytes as the file's content, then reads of the properties the
// controller uses and of names taken from the file itself, through every typed reader.

#include <stdlib.h>

#include <cstdint>
#include <cstring>
#include <string>

#include "FuzzSupport.h"
#include "qvncam/platform/Properties.h"

namespace {

const char* const kKnown[] = {
    "vendor.cam3perfctrl.log",
    "vendor.cam3perfctrl.enablejson",
    "vendor.cam3dev.dramcmd.enable",
    "vendor.debug.camera.capturePpl.boost.cpu.freq.cluster0",
    "vendor.debug.multicam.zoom.dram.opp",
    "vendor.cam3perfctrl.setaffinity.scene",
    "a",
    "",
};

void readAll(const char* name) {
    char value[qvncam::platform::kPropertyValueMax];
    const int len = qvncam::platform::property_get(name, value, "default");
    if (len < 0 || static_cast<size_t>(len) >= sizeof(value) || value[len] != '\0') {
        __builtin_trap();  // bounded and terminated, whatever the file holds
    }
    qvncam::platform::property_get_int32(name, -7);
    qvncam::platform::property_get_bool(name, true);
    qvncam::platform::property_get_string(name, nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Two names in turn: each input is a different file to the store, so it is parsed anew.
    static int turn = 0;
    const std::string path =
        fuzzsupport::writeInput((turn++ & 1) ? "props_a" : "props_b", data, size);
    setenv("QVNCAM_PROPERTIES", path.c_str(), 1);
    for (const char* name : kKnown) {
        readAll(name);
    }
    // Names as the file spells them, up to the first '=' of its first lines.
    const char* text = reinterpret_cast<const char*>(data);
    size_t start = 0;
    for (int line = 0; line < 8 && start < size; ++line) {
        const void* nl = std::memchr(text + start, '\n', size - start);
        const size_t end =
            nl != nullptr ? static_cast<size_t>(static_cast<const char*>(nl) - text) : size;
        std::string name(text + start, end - start);
        name = name.substr(0, name.find('='));
        readAll(name.c_str());
        start = end + 1;
    }
    return 0;
}
