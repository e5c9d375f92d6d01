// Structural checks over the whole resource vocabulary.

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "PerfCtrlHelper.h"

namespace {

using NSCam::NSCamFeature::NSCamPerfCtrl::PerfCtrlHelper;

const auto& idToName = PerfCtrlHelper::PowerEnumToStringMap;
const auto& nameToId = PerfCtrlHelper::StringToPowerEnumMap;
const auto& permitted = PerfCtrlHelper::AvailablePowerHalCmds;

int categoryOf(int id) {
    return static_cast<unsigned>(id) >> 22;
}
int familyOf(int id) {
    return (id >> 14) & 0xff;
}
int itemOf(int id) {
    return (id >> 8) & 0x3f;
}

// "PERF_RES_SCHED_UCLAMP_MIN_TA" -> "SCHED"
std::string classWord(const std::string& name) {
    const std::string rest = name.substr(9);
    return rest.substr(0, rest.find('_'));
}

struct ClassCount {
    const char* word;
    int rows;
    int permitted;
};

struct CategoryShape {
    int category;
    int firstId;
    int lastId;
    std::vector<ClassCount> classes;
};

const std::vector<CategoryShape> kShape = {
    {1, 0x00400000, 0x00414000, {{"CPUFREQ", 14, 14}}},
    {2, 0x00800000, 0x0080c000, {{"CPUCORE", 8, 8}}},
    {3, 0x00c00000, 0x00c20000, {{"GPU", 13, 13}}},
    {4, 0x01000000, 0x01058000, {{"DRAM", 30, 30}}},
    {5, 0x01400000, 0x01468000, {{"SCHED", 89, 89}}},
    {6, 0x01800000, 0x01810000, {{"AI", 7, 0}}},
    {7, 0x01c00000, 0x01c44100, {{"POWER", 26, 0}, {"PM", 1, 0}}},
    {8, 0x02000000, 0x0208cc00, {{"FPS", 136, 95}, {"FRS", 5, 0}}},
    {9, 0x02400000, 0x02410000, {{"DISP", 5, 0}, {"VIDEO", 1, 0}}},
    {10, 0x02800000, 0x02810000, {{"NET", 19, 0}}},
    {11, 0x02c00000, 0x02c14000, {{"IO", 8, 0}}},
    {12,
     0x03000000,
     0x03010000,
     {{"THERMAL", 1, 0}, {"UX", 3, 0}, {"CFP", 8, 1}, {"PERF", 1, 0}, {"TOUCH", 1, 0}}},
    {13, 0x03414100, 0x03414100, {{"SLC", 1, 1}}},
    {14, 0x03800000, 0x0380c000, {{"C2PS", 15, 15}}},
};

TEST(PowerResourceVocabulary, SizesAndBothMapsHoldTheSamePairs) {
    EXPECT_EQ(idToName.size(), 392u);
    EXPECT_EQ(nameToId.size(), 392u);
    EXPECT_EQ(permitted.size(), 266u);
    for (const auto& [id, name] : idToName) {
        auto it = nameToId.find(name);
        ASSERT_NE(it, nameToId.end()) << name;
        EXPECT_EQ(it->second, id) << name;
    }
    // Same size and every id->name pair found the other way: names are unique, and
    // name -> id -> name gives the name back.
    for (const auto& [name, id] : nameToId) {
        auto it = idToName.find(id);
        ASSERT_NE(it, idToName.end()) << name;
        EXPECT_EQ(it->second, name);
    }
    for (const auto& name : permitted) {
        EXPECT_EQ(nameToId.count(name), 1u) << name;
    }
}

TEST(PowerResourceVocabulary, IdsFollowTheBitLayoutAndNamesTheirClass) {
    std::map<int, std::vector<std::string>> wordsByCategory;
    for (const auto& shape : kShape) {
        for (const auto& c : shape.classes) {
            wordsByCategory[shape.category].push_back(c.word);
        }
    }
    int maxFamily = 0, maxItem = 0;
    bool familyZero = false, itemZero = false;
    for (const auto& [id, name] : idToName) {
        SCOPED_TRACE(name);
        EXPECT_GT(id, 0);
        EXPECT_EQ(id & 0xff, 0);
        EXPECT_LE(familyOf(id), 35);
        EXPECT_LE(itemOf(id), 17);
        maxFamily = std::max(maxFamily, familyOf(id));
        maxItem = std::max(maxItem, itemOf(id));
        familyZero |= familyOf(id) == 0;
        itemZero |= itemOf(id) == 0;

        ASSERT_EQ(name.rfind("PERF_RES_", 0), 0u);
        EXPECT_TRUE(std::all_of(name.begin(), name.end(), [](char ch) {
            return (ch >= 'A' && ch <= 'Z') || (ch >= '0' && ch <= '9') || ch == '_';
        }));
        const auto& words = wordsByCategory[categoryOf(id)];
        EXPECT_NE(std::find(words.begin(), words.end(), classWord(name)), words.end())
            << "category " << categoryOf(id);
    }
    EXPECT_EQ(maxFamily, 35);
    EXPECT_EQ(maxItem, 17);
    EXPECT_TRUE(familyZero);
    EXPECT_TRUE(itemZero);
}

TEST(PowerResourceVocabulary, EachClassHasItsRowsPermissionsAndIdRange) {
    for (const auto& shape : kShape) {
        SCOPED_TRACE("category " + std::to_string(shape.category));
        int first = 0, last = 0;
        std::map<std::string, std::pair<int, int>> counts;  // word -> rows, permitted
        for (const auto& [id, name] : idToName) {
            if (categoryOf(id) != shape.category)
                continue;
            if (first == 0 || id < first)
                first = id;
            last = std::max(last, id);
            auto& c = counts[classWord(name)];
            ++c.first;
            c.second += static_cast<int>(permitted.count(name));
        }
        EXPECT_EQ(first, shape.firstId);
        EXPECT_EQ(last, shape.lastId);
        EXPECT_EQ(counts.size(), shape.classes.size());
        for (const auto& c : shape.classes) {
            EXPECT_EQ(counts[c.word], std::make_pair(c.rows, c.permitted)) << c.word;
        }
    }
    EXPECT_EQ(permitted.count("PERF_RES_CFP_ENABLE"), 1u);
}

TEST(PowerResourceVocabulary, RowsSentByNumberAreAtTheirIds) {
    const std::vector<std::pair<const char*, int>> rows = {
        {"PERF_RES_CPUFREQ_MIN_CLUSTER_0", 0x00400000},
        {"PERF_RES_CPUFREQ_MIN_CLUSTER_1", 0x00400100},
        {"PERF_RES_CPUFREQ_MIN_CLUSTER_2", 0x00400200},
        {"PERF_RES_CPUFREQ_MAX_CLUSTER_0", 0x00404000},
        {"PERF_RES_CPUFREQ_MAX_CLUSTER_1", 0x00404100},
        {"PERF_RES_CPUFREQ_MAX_CLUSTER_2", 0x00404200},
        {"PERF_RES_CPUFREQ_PERF_MODE", 0x00414000},
        {"PERF_RES_GPU_FW_IDLE", 0x00c20000},
        {"PERF_RES_DRAM_OPP_MIN", 0x01000000},
        {"PERF_RES_DRAM_CM_MGR_CAM_ENABLE", 0x01010100},
        {"PERF_RES_DRAM_DVFS_QOSMM_MODE", 0x01058000},
        {"PERF_RES_SCHED_PREFER_IDLE_FG", 0x01404100},
        {"PERF_RES_SCHED_PREFER_IDLE_TA", 0x01404300},
        {"PERF_RES_SCHED_RUNNABLE_BOOST", 0x01468000},
        {"PERF_RES_FPS_ZELTRO_ENABLE", 0x02004000},
        {"PERF_RES_FPS_ZELTRO_CAM", 0x02008400},
        {"PERF_RES_FPS_FBT_BHR_OPP", 0x02020000},
    };
    for (const auto& [name, id] : rows) {
        auto it = nameToId.find(name);
        ASSERT_NE(it, nameToId.end()) << name;
        EXPECT_EQ(it->second, id) << name;
        EXPECT_EQ(permitted.count(name), 1u) << name;
    }
    // The per-task scheduler controls are sent by number and must stay unnamed.
    for (int id : {0x01448300, 0x01450000, 0x03400000}) {
        EXPECT_EQ(idToName.count(id), 0u) << std::hex << id;
    }
}

}  // namespace
