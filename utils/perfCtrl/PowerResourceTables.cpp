// The power service's resource vocabulary, expanded from PowerResources.def.

#include "PerfCtrlHelper.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

// Picks the permitted rows for AvailablePowerHalCmds; a PERMITTED other than 1 or 0 does
// not compile.
#define QVNCAM_PERF_RES_IF_PERMITTED_1(name) name,
#define QVNCAM_PERF_RES_IF_PERMITTED_0(name)

// Other static initialisers of the library may look names up, so the tables are built
// ahead of them.
const std::unordered_map<int, std::string> PerfCtrlHelper::PowerEnumToStringMap
    __attribute__((init_priority(101))) = {
#define PERF_RES(name, id, permitted) {id, #name},
#include "PowerResources.def"
#undef PERF_RES
};

const std::unordered_map<std::string, int> PerfCtrlHelper::StringToPowerEnumMap
    __attribute__((init_priority(101))) = {
#define PERF_RES(name, id, permitted) {#name, id},
#include "PowerResources.def"
#undef PERF_RES
};

const std::unordered_set<std::string> PerfCtrlHelper::AvailablePowerHalCmds
    __attribute__((init_priority(101))) = {
#define PERF_RES(name, id, permitted) QVNCAM_PERF_RES_IF_PERMITTED_##permitted(#name)
#include "PowerResources.def"
#undef PERF_RES
};

#undef QVNCAM_PERF_RES_IF_PERMITTED_1
#undef QVNCAM_PERF_RES_IF_PERMITTED_0

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
