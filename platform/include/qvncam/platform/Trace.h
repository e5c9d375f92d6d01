// SPDX-License-Identifier: Apache-2.0
#pragma once

// System trace: enabled tags and asynchronous slices.

#include <cstdint>

namespace qvncam {
namespace platform {

constexpr uint64_t kTraceTagCamera = 0x400;

uint64_t atrace_enabled_tags();
// Write the slice unconditionally: callers check the enabled tags first.
void atrace_async_begin(const char* name, int32_t cookie);
void atrace_async_end(const char* name, int32_t cookie);

inline bool atrace_camera_enabled() {
    return (atrace_enabled_tags() & kTraceTagCamera) != 0;
}

}  // namespace platform
}  // namespace qvncam
