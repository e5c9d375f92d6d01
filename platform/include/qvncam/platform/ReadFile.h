// SPDX-License-Identifier: Apache-2.0
#pragma once

// Reading a small file whole, for the platform pieces that load one at a time.

#include <sys/stat.h>
#include <sys/types.h>

#include <string>

namespace qvncam {
namespace platform {

// Reads the regular file at `path` into `out`, refusing one larger than `maxSize`.
// On success returns its open descriptor, which the caller closes, with its status
// in `st`; on failure returns -1 with the reason in `why`.
int readRegularFile(const char* path, off_t maxSize, struct stat& st, std::string& out,
                    std::string& why);

}  // namespace platform
}  // namespace qvncam
