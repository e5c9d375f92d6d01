#pragma once

#include "qvncam/platform/HostControl.h"

// Debug lines of the controller need detail level 5 and the module's mask bits.
inline void enableDebugLog() {
    qvncam::host::setProperty("vendor.debug.qvncam.ulog.detail", "5");
    qvncam::host::setProperty("vendor.debug.qvncam.ulog.mask", "0x1001000");
    qvncam::host::reloadULogger();
}
