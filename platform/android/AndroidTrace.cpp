// SPDX-License-Identifier: Apache-2.0
// System trace on a device: libcutils' atrace.

#include "qvncam/platform/Trace.h"

#include <cutils/trace.h>

// cutils/trace.h declares the slice bodies only inside its inline wrappers, which
// re-check the tags; callers here have checked them already.
extern "C" {
void atrace_async_begin_body(const char* name, int32_t cookie);
void atrace_async_end_body(const char* name, int32_t cookie);
}

namespace qvncam {
namespace platform {

static_assert(kTraceTagCamera == ATRACE_TAG_CAMERA, "camera trace tag differs from atrace");

uint64_t atrace_enabled_tags() {
    return ::atrace_get_enabled_tags();
}

void atrace_async_begin(const char* name, int32_t cookie) {
    ::atrace_async_begin_body(name, cookie);
}

void atrace_async_end(const char* name, int32_t cookie) {
    ::atrace_async_end_body(name, cookie);
}

}  // namespace platform
}  // namespace qvncam
