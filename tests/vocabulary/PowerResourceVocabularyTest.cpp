// SPDX-License-Identifier: Apache-2.0
// Structural checks over the whole resource vocabulary.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <string>
#include <tuple>
#include <utility>

#include "PerfCtrlHelper.h"

namespace {

using NSCam::NSCamFeature::NSCamPerfCtrl::PerfCtrlHelper;

const auto& idToName = PerfCtrlHelper::PowerEnumToStringMap;
const auto& nameToId = PerfCtrlHelper::StringToPowerEnumMap;
const auto& permitted = PerfCtrlHelper::AvailablePowerHalCmds;

// Per category: first id, last id, and per class word its rows and permitted rows.
struct Shape {
    int firstId = 0, lastId = 0;
    std::map<std::string, std::pair<int, int>> classes;
};

// clang-format off
const std::map<int, Shape> kShapes = {
    {1, {0x00400000, 0x00414000, {{"CPUFREQ", {14, 14}}}}},
    {2, {0x00800000, 0x0080c000, {{"CPUCORE", {8, 8}}}}},
    {3, {0x00c00000, 0x00c20000, {{"GPU", {13, 13}}}}},
    {4, {0x01000000, 0x01058000, {{"DRAM", {30, 30}}}}},
    {5, {0x01400000, 0x01468000, {{"SCHED", {89, 89}}}}},
    {6, {0x01800000, 0x01810000, {{"AI", {7, 0}}}}},
    {7, {0x01c00000, 0x01c44100, {{"POWER", {26, 0}}, {"PM", {1, 0}}}}},
    {8, {0x02000000, 0x0208cc00, {{"FPS", {136, 95}}, {"FRS", {5, 0}}}}},
    {9, {0x02400000, 0x02410000, {{"DISP", {5, 0}}, {"VIDEO", {1, 0}}}}},
    {10, {0x02800000, 0x02810000, {{"NET", {19, 0}}}}},
    {11, {0x02c00000, 0x02c14000, {{"IO", {8, 0}}}}},
    {12, {0x03000000, 0x03010000, {{"THERMAL", {1, 0}}, {"UX", {3, 0}}, {"CFP", {8, 1}}, {"PERF", {1, 0}},
                                   {"TOUCH", {1, 0}}}}},
    {13, {0x03414100, 0x03414100, {{"SLC", {1, 1}}}}},
    {14, {0x03800000, 0x0380c000, {{"C2PS", {15, 15}}}}}};
// clang-format on

TEST(PowerResourceVocabulary, BothMapsHoldTheSameUniquePairs) {
    EXPECT_EQ(idToName.size(), 392u);
    EXPECT_EQ(nameToId.size(), 392u);
    EXPECT_EQ(permitted.size(), 266u);
    // With equal sizes, finding every pair the other way makes names unique and the round
    // trip name -> id -> name exact.
    for (const auto& [id, name] : idToName) {
        const auto it = nameToId.find(name);
        EXPECT_TRUE(it != nameToId.end() && it->second == id) << name;
    }
    for (const auto& name : permitted)
        EXPECT_EQ(nameToId.count(name), 1u) << name;
}

TEST(PowerResourceVocabulary, IdsFollowTheBitLayoutAndEachCategoryItsShape) {
    std::map<int, Shape> shapes;
    int maxFamily = 0, maxItem = 0;
    for (const auto& [id, name] : idToName) {
        SCOPED_TRACE(name);
        EXPECT_EQ(id & 0xff, 0);
        maxFamily = std::max(maxFamily, (id >> 14) & 0xff);
        maxItem = std::max(maxItem, (id >> 8) & 0x3f);
        ASSERT_EQ(name.rfind("PERF_RES_", 0), 0u);
        EXPECT_EQ(name.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_"), name.npos);
        Shape& shape = shapes[id >> 22];
        shape.firstId = shape.firstId == 0 ? id : std::min(shape.firstId, id);
        shape.lastId = std::max(shape.lastId, id);
        auto& counts = shape.classes[name.substr(9, name.find('_', 9) - 9)];
        ++counts.first;
        counts.second += static_cast<int>(permitted.count(name));
    }
    EXPECT_EQ(std::make_pair(maxFamily, maxItem), std::make_pair(35, 17));
    EXPECT_EQ(shapes.size(), kShapes.size());
    for (const auto& [category, want] : kShapes) {
        const Shape& got = shapes[category];
        EXPECT_EQ(std::tie(got.firstId, got.lastId, got.classes),
                  std::tie(want.firstId, want.lastId, want.classes))
            << "category " << category;
    }
}

TEST(PowerResourceVocabulary, RowsSentByNumberAreAtTheirIdsAndPerTaskIdsUnnamed) {
    // clang-format off
    const std::pair<const char*, int> rows[] = {
        {"CPUFREQ_MIN_CLUSTER_0", 0x00400000}, {"CPUFREQ_MIN_CLUSTER_1", 0x00400100},
        {"CPUFREQ_MIN_CLUSTER_2", 0x00400200}, {"CPUFREQ_PERF_MODE", 0x00414000},
        {"GPU_FW_IDLE", 0x00c20000}, {"DRAM_OPP_MIN", 0x01000000},
        {"DRAM_CM_MGR_CAM_ENABLE", 0x01010100}, {"DRAM_DVFS_QOSMM_MODE", 0x01058000},
        {"SCHED_PREFER_IDLE_FG", 0x01404100}, {"SCHED_PREFER_IDLE_TA", 0x01404300},
        {"SCHED_RUNNABLE_BOOST", 0x01468000}, {"FPS_ZELTRO_ENABLE", 0x02004000},
        {"FPS_ZELTRO_CAM", 0x02008400}, {"FPS_FBT_BHR_OPP", 0x02020000}};
    // clang-format on
    for (const auto& [word, id] : rows) {
        const std::string name = std::string("PERF_RES_") + word;
        EXPECT_TRUE(nameToId.count(name) && nameToId.at(name) == id) << name;
        EXPECT_EQ(permitted.count(name), 1u) << name;
    }
    for (int id : {0x01448300, 0x01450000, 0x03400000})
        EXPECT_EQ(idToName.count(id), 0u) << std::hex << id;  // sent by number only
}

}  // namespace
