// SPDX-License-Identifier: Apache-2.0
#pragma once

// The table that ends a simulation's summary: how long each resource spent at each
// effective value.

#include <cstdio>

#include "timeline/Timeline.h"

namespace qvnperfctl {

void printTimeAtValue(const Timeline& timeline, std::FILE* out);

}  // namespace qvnperfctl
