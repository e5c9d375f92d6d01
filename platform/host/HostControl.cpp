// SPDX-License-Identifier: Apache-2.0
// Host controls over the shared platform pieces: the unified logger's settings and
// the last C2PS record.

#include "qvncam/platform/HostControl.h"

#include <cstring>

#include "qvncam/platform/C2PSRecord.h"
#include "ulog/ULoggerState.h"

namespace qvncam {
namespace host {

void reloadULogger() {
    // The logger reads them again at its next use.
    NSCam::Utils::ULog::gSettingsLoaded.store(false, std::memory_order_release);
}

bool lastC2PSInit(C2PSInitParams* out) {
    platform::C2PSInitRecord& last = platform::c2psInitRecord();
    MutexLock lock(last.mutex);
    if (last.received && out != nullptr)
        std::memcpy(out, &last.params, sizeof(*out));
    return last.received;
}

void resetC2PSInit() {
    platform::C2PSInitRecord& last = platform::c2psInitRecord();
    MutexLock lock(last.mutex);
    last.received = false;
    std::memset(&last.params, 0, sizeof(last.params));
}

}  // namespace host
}  // namespace qvncam
