// SPDX-License-Identifier: Apache-2.0
// The power service's resource vocabulary, expanded from PowerResources.def.

#include <algorithm>
#include <array>
#include <tuple>
#include <type_traits>
#include <utility>

#include "PerfCtrlHelper.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

// Picks the permitted flag; a PERMITTED other than 1 or 0 does not compile.
#define QVNCAM_PERF_RES_PERMITTED_1 true
#define QVNCAM_PERF_RES_PERMITTED_0 false

// The rows as relocation-free constants: all names in one string, their lengths, ids and
// flags in plain arrays. The tables are built at every load of the library, so this keeps
// the loader's relocation work, the copy-on-write pages and the scanning for ends down.
constexpr char kNames[] =
#define PERF_RES(name, id, permitted) #name "\0"
#include "PowerResources.def"
#undef PERF_RES
    ;

// A name too long for its length does not compile (narrowing in the list).
constexpr unsigned char kLengths[] = {
#define PERF_RES(name, id, permitted) sizeof(#name) - 1,
#include "PowerResources.def"
#undef PERF_RES
};

constexpr int kIds[] = {
#define PERF_RES(name, id, permitted) id,
#include "PowerResources.def"
#undef PERF_RES
};

constexpr bool kPermitted[] = {
#define PERF_RES(name, id, permitted) QVNCAM_PERF_RES_PERMITTED_##permitted,
#include "PowerResources.def"
#undef PERF_RES
};

#undef QVNCAM_PERF_RES_PERMITTED_1
#undef QVNCAM_PERF_RES_PERMITTED_0

constexpr size_t kRows = sizeof(kIds) / sizeof(kIds[0]);
static_assert(sizeof(kPermitted) == kRows && sizeof(kLengths) == kRows, "one entry per row");

// Calls fn(index, name, length) for every row, in file order.
template <typename Fn>
void forEachRow(Fn&& fn) {
    const char* name = kNames;
    for (size_t i = 0; i < kRows; ++i) {
        fn(i, name, kLengths[i]);
        name += kLengths[i] + 1;
    }
}

size_t permittedRows() {
    size_t n = 0;
    for (bool permitted : kPermitted) {
        n += permitted ? 1 : 0;
    }
    return n;
}

// Ids in order, each with the offset of its name in kNames; the first row wins a repeated id,
// as in PowerEnumToStringMap. Trivially destructible, so never destroyed.
struct NameIndex {
    struct Row {
        int id;
        unsigned short offset;
    };
    std::array<Row, kRows> rows;
};
static_assert(std::is_trivially_destructible_v<NameIndex>);
static_assert(sizeof(kNames) <= 0x10000, "name offsets fit in 16 bits");

NameIndex buildNameIndex() {
    NameIndex index{};
    size_t offset = 0;
    forEachRow([&](size_t i, const char*, size_t length) {
        index.rows[i] = {kIds[i], static_cast<unsigned short>(offset)};
        offset += length + 1;
    });
    std::stable_sort(index.rows.begin(), index.rows.end(),
                     [](const NameIndex::Row& a, const NameIndex::Row& b) { return a.id < b.id; });
    return index;
}

// The earliest priority a program may use.
constexpr int kTablesInitPriority = 101;

}  // namespace

const char* powerResourceName(int id) {
    static const NameIndex index = buildNameIndex();
    const auto it =
        std::lower_bound(index.rows.begin(), index.rows.end(), id,
                         [](const NameIndex::Row& row, int wanted) { return row.id < wanted; });
    return it != index.rows.end() && it->id == id ? kNames + it->offset : nullptr;
}

// Other static initialisers of the library may look names up, so the tables are built
// ahead of them, each in buckets sized up front.
const std::unordered_map<int, std::string> PerfCtrlHelper::PowerEnumToStringMap
    __attribute__((init_priority(kTablesInitPriority))) = [] {
        std::unordered_map<int, std::string> table(kRows);
        forEachRow([&](size_t i, const char* name, size_t length) {
            table.emplace(std::piecewise_construct, std::forward_as_tuple(kIds[i]),
                          std::forward_as_tuple(name, length));
        });
        return table;
    }();

const std::unordered_map<std::string, int> PerfCtrlHelper::StringToPowerEnumMap
    __attribute__((init_priority(kTablesInitPriority))) = [] {
        std::unordered_map<std::string, int> table(kRows);
        forEachRow([&](size_t i, const char* name, size_t length) {
            table.emplace(std::piecewise_construct, std::forward_as_tuple(name, length),
                          std::forward_as_tuple(kIds[i]));
        });
        return table;
    }();

const std::unordered_set<std::string> PerfCtrlHelper::AvailablePowerHalCmds
    __attribute__((init_priority(kTablesInitPriority))) = [] {
        std::unordered_set<std::string> table(permittedRows());
        forEachRow([&](size_t i, const char* name, size_t length) {
            if (kPermitted[i]) {
                table.emplace(name, length);
            }
        });
        return table;
    }();

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
