// SPDX-License-Identifier: Apache-2.0
// The Android log on a device: liblog, and the test hook's sink when one is installed.

#include "qvncam/platform/AndroidLog.h"

#include <android/log.h>

#include <cstdarg>
#include <cstdio>

#include "qvncam/platform/TestHook.h"

namespace qvncam {
namespace platform {

static_assert(static_cast<int>(LOG_PRIO_DEBUG) == ANDROID_LOG_DEBUG &&
                  static_cast<int>(LOG_PRIO_WARN) == ANDROID_LOG_WARN &&
                  static_cast<int>(LOG_PRIO_ERROR) == ANDROID_LOG_ERROR,
              "log priorities differ from liblog");

void android_log_print(int prio, const char* tag, const char* fmt, ...) {
    va_list ap;
    va_start(ap, fmt);
    if (fmt != nullptr && logSinkInstalled()) {
        char message[4068];  // liblog's own limit on one message
        va_list copy;
        va_copy(copy, ap);
        if (std::vsnprintf(message, sizeof(message), fmt, copy) >= 0)
            sendToLogSink(prio, tag, message);
        va_end(copy);
    }
    __android_log_vprint(prio, tag, fmt, ap);
    va_end(ap);
}

}  // namespace platform
}  // namespace qvncam
