#pragma once

#include <string>

#include "timeline/LockSpans.h"

namespace qvnperfctl {

// Draws the session as one self-contained SVG: steps along the top, a bar per lock
// over its lifetime, and the effective CPU floors and DRAM operating point as step
// lines on labelled axes. False when the file cannot be written.
bool writeSvg(const Picture& picture, const std::string& title, const std::string& path);

}  // namespace qvnperfctl
