// SPDX-License-Identifier: Apache-2.0
#pragma once

// Host-only controls for tests running in the same process. The host build of the
// shared library exports them (and installs this header); the Android build has none.

#include <string>

#include "C2PSInitParams.h"
#include "QvncamExport.h"

namespace qvncam {
namespace host {

// In-process properties override the property file until cleared.
QVNCAM_EXPORT void setProperty(const std::string& name, const std::string& value);
QVNCAM_EXPORT void clearProperty(const std::string& name);
QVNCAM_EXPORT void clearAllProperties();

// Forces SetProcessProfiles to fail (or restores the normal answer).
QVNCAM_EXPORT void forceProcessProfilesFailure(bool fail);

// Re-reads the unified logger's detail level, mask and mode word from properties.
QVNCAM_EXPORT void reloadULogger();

// The last record C2PSMachine::init received; false when it was never called.
QVNCAM_EXPORT bool lastC2PSInit(C2PSInitParams* out);
QVNCAM_EXPORT void resetC2PSInit();

}  // namespace host
}  // namespace qvncam
