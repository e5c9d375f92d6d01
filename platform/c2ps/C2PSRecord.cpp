// SPDX-License-Identifier: Apache-2.0
// The last record the C2PS stand-in received, kept for the host controls.

#include "qvncam/platform/C2PSRecord.h"

#include <cstring>

#include "C2PSObserver.h"

namespace qvncam {
namespace platform {

C2PSInitRecord& c2psInitRecord() {
    static C2PSInitRecord* const record = new C2PSInitRecord;
    return *record;
}

void observeC2PSInit(const C2PSInitParams& params) {
    C2PSInitRecord& last = c2psInitRecord();
    MutexLock lock(last.mutex);
    // Byte for byte, padding included, so that callers can check the whole layout.
    std::memcpy(&last.params, &params, sizeof(params));
    last.received = true;
}

}  // namespace platform
}  // namespace qvncam
