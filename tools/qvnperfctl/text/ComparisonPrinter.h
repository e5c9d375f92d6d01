// SPDX-License-Identifier: Apache-2.0
#pragma once

// compare's text: the sides' tunings, the first difference, the time at each value of
// every resource that differs, and the lock counts side by side.

#include <cstdio>

#include "timeline/Comparison.h"

namespace qvnperfctl {

void printComparison(const Comparison& comparison, const Timeline& a, const Timeline& b,
                     const SideLabel& labelA, const SideLabel& labelB, std::FILE* out);

}  // namespace qvnperfctl
