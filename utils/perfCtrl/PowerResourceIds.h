// SPDX-License-Identifier: Apache-2.0
#pragma once

// Named ids of the power-service resources, generated from the vocabulary data file.

#include <cstddef>

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

enum PowerResourceId : int {
#define PERF_RES(name, id, permitted) name = (id),
#include "PowerResources.def"
#undef PERF_RES
};

// A command list is a flat run of (resource id, value) pairs.
constexpr size_t kIntsPerPair = 2;

// The name of resource `id`, or null when the vocabulary has none. Unlike the exported maps
// its table is never destroyed: the dump may run on any thread while the process exits.
const char* powerResourceName(int id);

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
