// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "timeline/Comparison.h"

namespace qvnperfctl {

// Both sides in one picture: per cluster and for the DRAM operating point a chart with
// side A solid and side B dashed, the steps along the top.
std::string compareSvg(const Comparison& comparison, const Timeline& a, const Timeline& b,
                       const SideLabel& labelA, const SideLabel& labelB);

}  // namespace qvnperfctl
