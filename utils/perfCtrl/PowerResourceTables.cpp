// The power service's resource vocabulary, expanded from PowerResources.def.

#include "PerfCtrlHelper.h"

#include <iterator>
#include <utility>

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

// Picks the permitted rows for AvailablePowerHalCmds; a PERMITTED other than 1 or 0 does
// not compile.
#define QVNCAM_PERF_RES_IF_PERMITTED_1(name) name,
#define QVNCAM_PERF_RES_IF_PERMITTED_0(name)

namespace {

// The rows as plain literals: each table is then built in one pass that constructs every
// name once, straight into its node, in buckets sized up front (this runs at every load).
constexpr std::pair<int, const char*> kIdToName[] = {
#define PERF_RES(name, id, permitted) {id, #name},
#include "PowerResources.def"
#undef PERF_RES
};

constexpr std::pair<const char*, int> kNameToId[] = {
#define PERF_RES(name, id, permitted) {#name, id},
#include "PowerResources.def"
#undef PERF_RES
};

constexpr const char* kPermitted[] = {
#define PERF_RES(name, id, permitted) QVNCAM_PERF_RES_IF_PERMITTED_##permitted(#name)
#include "PowerResources.def"
#undef PERF_RES
};

template <typename Table, typename Rows>
Table buildTable(const Rows& rows) {
    return Table(std::begin(rows), std::end(rows), std::size(rows));
}

}  // namespace

// Other static initialisers of the library may look names up, so the tables are built
// ahead of them.
const std::unordered_map<int, std::string> PerfCtrlHelper::PowerEnumToStringMap
    __attribute__((init_priority(101))) =
        buildTable<std::unordered_map<int, std::string>>(kIdToName);

const std::unordered_map<std::string, int> PerfCtrlHelper::StringToPowerEnumMap
    __attribute__((init_priority(101))) =
        buildTable<std::unordered_map<std::string, int>>(kNameToId);

const std::unordered_set<std::string> PerfCtrlHelper::AvailablePowerHalCmds
    __attribute__((init_priority(101))) = buildTable<std::unordered_set<std::string>>(kPermitted);

#undef QVNCAM_PERF_RES_IF_PERMITTED_1
#undef QVNCAM_PERF_RES_IF_PERMITTED_0

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
