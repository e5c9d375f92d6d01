// SPDX-License-Identifier: Apache-2.0
#pragma once

// The last record C2PSMachine::init received, kept for the host controls.

#include "C2PSMachine.h"
#include "qvncam/platform/ThreadAnnotations.h"

namespace qvncam {
namespace platform {

struct C2PSInitRecord {
    Mutex mutex;
    bool received QVNCAM_GUARDED_BY(mutex) = false;
    C2PSInitParams params QVNCAM_GUARDED_BY(mutex){};  // zero-initialised, padding included
};

// Never destroyed: init may run from another object's destructor at exit.
C2PSInitRecord& c2psInitRecord();

}  // namespace platform
}  // namespace qvncam
