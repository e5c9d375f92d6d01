// SPDX-License-Identifier: Apache-2.0
#pragma once

// Opening a log or trace file named by the environment for appending.

#include <atomic>

namespace qvncam {
namespace platform {

// Opens the regular file at `path` for appending, creating it (mode 0644) when missing.
// Never blocks: a FIFO, device or directory in its place is refused. Returns the open
// descriptor, which the caller closes, or -1. The first failure that finds `warned` false
// sets it and logs one warning under `tag` naming `variable`; later failures stay quiet.
int openRegularForAppend(const char* path, const char* tag, const char* variable,
                         std::atomic<bool>& warned);

}  // namespace platform
}  // namespace qvncam
