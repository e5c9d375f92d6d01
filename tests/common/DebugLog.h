// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "qvncam/platform/TestHook.h"

// Debug lines of the controller need detail level 5 and the module's mask bits; the
// logger reads its settings again once the overrides change.
inline void enableDebugLog() {
    qvncam::platform::setPropertyOverride("vendor.debug.qvncam.ulog.detail", "5");
    qvncam::platform::setPropertyOverride("vendor.debug.qvncam.ulog.mask", "0x1001000");
}
