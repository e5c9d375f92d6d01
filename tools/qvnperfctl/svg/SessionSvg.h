// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "timeline/LockSpans.h"

namespace qvnperfctl {

// Draws the session as one self-contained SVG: steps along the top, a bar per lock
// over its lifetime, and the effective CPU floors and DRAM operating point as step
// lines on labelled axes.
std::string sessionSvg(const Picture& picture, const std::string& title);

}  // namespace qvnperfctl
