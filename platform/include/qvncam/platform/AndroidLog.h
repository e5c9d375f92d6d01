// SPDX-License-Identifier: Apache-2.0
#pragma once

// The Android log (liblog on a device; standard error in logcat's brief format on a host).

namespace qvncam {
namespace platform {

// Android log priorities used by the controller.
enum LogPriority : int {
    LOG_PRIO_DEBUG = 3,
    LOG_PRIO_WARN = 5,
    LOG_PRIO_ERROR = 6,
};

void android_log_print(int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

}  // namespace platform
}  // namespace qvncam
