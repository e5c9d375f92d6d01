// SPDX-License-Identifier: Apache-2.0
#pragma once

// The parts of the fuzz set-up that both platforms share.

#include "FuzzSupport.h"
#include "PerfCtrlProperties.h"
#include "PerfOperatorImp.h"

namespace fuzzsupport {

inline int grantLock(int handle, int /*duration*/, int* /*list*/, int /*numArgs*/) {
    return handle > 0 ? handle : 1;
}
inline int releaseLock(int /*handle*/) {
    return 0;
}

inline void quietControllerCommon() {
    using NSCam::NSCamFeature::NSCamPerfCtrl::PerfOperatorImp;
    PerfOperatorImp::mfnLockAcq.store(grantLock);
    PerfOperatorImp::mfnLockRel.store(releaseLock);
    // Debug level and mask on; mode 2: the unified logger's sink only. The logger reads
    // them again at its next use.
    setProperty("vendor.debug.qvncam.ulog.detail", "5");
    setProperty("vendor.debug.qvncam.ulog.mask", "0x1001000");
    setProperty("vendor.debug.qvncam.ulog.mode", "2");
    setProperty(NSCam::NSCamFeature::NSCamPerfCtrl::PerfCtrlProperties::kLogLevel.name, "1");
}

}  // namespace fuzzsupport
