// SPDX-License-Identifier: Apache-2.0
#pragma once

// Where the C2PS stand-in reports each record it receives.

#include "C2PSMachine.h"

namespace qvncam {
namespace platform {

// Weak: only the host controls define it, and a device build of the stand-in must link
// without them.
__attribute__((weak)) void observeC2PSInit(const C2PSInitParams& params);

}  // namespace platform
}  // namespace qvncam
