#pragma once

// Named ids of the power-service resources, generated from the vocabulary data file.

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

enum PowerResourceId : int {
#define PERF_RES(name, id, permitted) name = (id),
#include "PowerResources.def"
#undef PERF_RES
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
