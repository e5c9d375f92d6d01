// SPDX-License-Identifier: Apache-2.0
#pragma once

// Lines on standard error in logcat's brief format, like the rest of the host
// build: "W/QvnPerfService(  PID): message".

#include <string>

namespace qvnperf {

void setWarningsEnabled(bool on);

// Dropped while warnings are switched off.
void warn(const char* fmt, ...) __attribute__((format(printf, 1, 2)));

// Always written, as one write() so that lines from several threads do not mix.
void writeLogLine(int fd, char priority, const std::string& message);

}  // namespace qvnperf
