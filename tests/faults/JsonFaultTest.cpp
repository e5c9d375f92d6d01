// JSON configurations that are missing, truncated, of the wrong shape or types, huge or
// nested absurdly deep: opening the camera never fails, and each case has one defined
// outcome for the enter-camera custom lock.

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "FaultSession.h"
#include "RecordingPowerClient.h"
#include "qvncam/platform/HostControl.h"

namespace {

using namespace faults;

constexpr int kCluster0 = 0x400000;
constexpr int kCluster1 = 0x400100;

std::string nested(int depth) {
    return std::string(static_cast<size_t>(depth), '[') +
           std::string(static_cast<size_t>(depth), ']');
}

std::string padded(size_t bytes, const std::string& tail) {
    return "{\"padding\": \"" + std::string(bytes, 'x') + "\", " + tail + "}";
}

struct JsonCase {
    const char* name;
    std::optional<std::string> text;  // none: the file does not exist
    // The custom lock's list when it comes from the JSON "enter_cam" section; none when the
    // configuration is not used and the customisation function supplies the lock instead.
    std::optional<std::vector<int>> enterCam;
};

const std::string kEnter = "\"enter_cam\": {\"PERF_RES_CPUFREQ_MIN_CLUSTER_0\": 1500000}";

const JsonCase kCases[] = {
    {"Valid", "{" + kEnter + "}", std::vector<int>{kCluster0, 1500000}},
    {"Missing", std::nullopt, std::nullopt},
    {"Empty", "", std::nullopt},
    {"Truncated", "{\"enter_cam\": {\"PERF_RES_CPUFREQ_MIN_CLUSTER_0\": 15", std::nullopt},
    {"Binary", std::string("\0\xff\xfe{\x01", 5), std::nullopt},
    {"TopLevelArray", "[1, 2, 3]", std::nullopt},
    {"TopLevelNumber", "42", std::nullopt},
    // A present section of the wrong shape still counts as present: an empty JSON list.
    {"EnterCamArray", "{\"enter_cam\": [1, 2]}", std::vector<int>{}},
    {"EnterCamString", "{\"enter_cam\": \"PERF_RES_CPUFREQ_MIN_CLUSTER_0\"}", std::vector<int>{}},
    {"ConfigCamNumber", "{" + kEnter + ", \"config_cam\": 3}",
     std::vector<int>{kCluster0, 1500000}},
    // Values that are not 32-bit integers read as 0; unknown names are skipped.
    {"WrongValueTypes",
     "{\"enter_cam\": {\"PERF_RES_CPUFREQ_MIN_CLUSTER_0\": \"fast\", "
     "\"PERF_RES_CPUFREQ_MIN_CLUSTER_1\": 1.5, \"PERF_RES_DRAM_OPP_MIN\": 1e12, "
     "\"PERF_RES_CPUFREQ_MIN_CLUSTER_2\": null, \"NO_SUCH_RESOURCE\": 7}}",
     std::vector<int>{kCluster0, 0, kCluster1, 0, 0x400200, 0, 0x1000000, 0}},
    {"TenMegabytes", padded(10 << 20, kEnter), std::vector<int>{kCluster0, 1500000}},
    {"OverSixteenMegabytes", padded(17 << 20, kEnter), std::nullopt},
    {"Nested10000Deep", "{\"deep\": " + nested(10000) + ", " + kEnter + "}", std::nullopt},
};

void PrintTo(const JsonCase& c, std::ostream* os) {
    *os << c.name;
}

class JsonFault : public ::testing::TestWithParam<JsonCase> {};

TEST_P(JsonFault, OpeningTheCameraHasOneDefinedOutcome) {
    ASSERT_TRUE(recpower::available());
    const customdbl::Api* c = customdbl::api();
    ASSERT_NE(c, nullptr);
    scriptCustomisation();
    const std::string path = ::testing::TempDir() + "faults_" + GetParam().name + "_" +
                             std::to_string(getpid()) + ".json";
    if (GetParam().text) {
        std::ofstream(path, std::ios::binary) << *GetParam().text;
    }
    qvncam::host::setProperty("vendor.cam3perfctrl.enablejson", "1");
    qvncam::host::setProperty("vendor.debug.qvncam.perfjson", path);
    recpower::reset();
    {
        auto holder = Cam3PerfCtrl::getInstance()->enterPerfCtrl_EnterCamera(0);
        ASSERT_TRUE(holder);
        const auto acquires = recpower::acquires();
        ASSERT_EQ(acquires.size(), 3u);  // platform, boost, custom
        if (GetParam().enterCam) {
            EXPECT_EQ(acquires[2].list, *GetParam().enterCam);
            EXPECT_EQ(c->callCount(CUSTOMDBL_ENTER), 0);
        } else {
            EXPECT_EQ(acquires[2].list, (std::vector<int>{kCluster0, 1200000}));
            EXPECT_EQ(c->callCount(CUSTOMDBL_ENTER), 1);
        }
        // Configuring streams works whatever the document said.
        EXPECT_TRUE(Cam3PerfCtrl::getInstance()->enterPerfCtrl_ConfigureStream({}));
    }
    EXPECT_TRUE(recpower::live().empty());
    std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Documents, JsonFault, ::testing::ValuesIn(kCases),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
