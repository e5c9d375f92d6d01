// SPDX-License-Identifier: Apache-2.0
#pragma once

// Set-up shared by the fuzz targets that drive the controller in-process. The platform part
// comes from FuzzSupportHost.cpp (CMake) or FuzzSupportAndroid.cpp (Android.bp).

#include <cstdint>
#include <cstdio>
#include <string>

namespace fuzzsupport {

// Installs a power service that grants everything (no dlopen, no IPC per input) and makes
// every debug line be formatted, so that fuzzed names pass through the format calls, while
// nothing is written. Turns the controller's own log switch on: the targets must then only
// ask for locks without a duration, or each would start a trace timer thread.
void quietController();

// Sets a system property for this process's later reads.
void setProperty(const char* name, const std::string& value);

// A scratch file of this process named after `tag`.
std::string scratchPath(const char* tag);

// Writes the input to the scratch file of `tag` and returns its path.
inline std::string writeInput(const char* tag, const uint8_t* data, size_t size) {
    const std::string path = scratchPath(tag);
    FILE* f = std::fopen(path.c_str(), "wb");
    if (f != nullptr) {
        if (size > 0) {
            std::fwrite(data, 1, size, f);
        }
        std::fclose(f);
    }
    return path;
}

}  // namespace fuzzsupport
