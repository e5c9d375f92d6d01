// Property values out of range or garbage, and property files that are garbage themselves:
// a value that does not parse counts as unset (its default applies), one that parses is
// used as it stands, and nothing crashes. The file of garbage values (see CMakeLists.txt)
// must be in place before the library's own initialisers read it.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "FaultSession.h"
#include "RecordingPowerClient.h"

__attribute__((constructor(101))) static void useGarbageProperties() {
    setenv("QVNCAM_PROPERTIES", FAULTS_GARBAGE_PROPERTIES, 1);
}

namespace {

using namespace faults;

// Every enter-camera switch at its default.
const std::vector<int> kDefaultPlatform = {0x1010100, 1, 0x2008400, 1, 0x2004000, 1,
                                           0xc20000,  2, 0x1468000, 0, 0x1058000, 33330001};

std::vector<int> platformList() {
    recpower::reset();
    auto holder = Cam3PerfCtrl::getInstance()->enterPerfCtrl_EnterCamera(0);
    const auto acquires = recpower::acquires();
    return acquires.empty() ? std::vector<int>() : acquires[0].list;
}

TEST(PropertyFault, GarbageValuesFallBackToDefaults) {
    ASSERT_TRUE(recpower::available());
    scriptCustomisation();
    Cam3PerfCtrl* ctrl = Cam3PerfCtrl::getInstance();
    recpower::reset();
    // Read at load: "2.5GHz" and "99999999999" do not parse; "-1" does and is sent as is.
    // The log switch "verbose" reads as 0, so level 2 keeps the table's list.
    ctrl->runPerfBoost(EPERF_BOOST_CAPTURE_PIPELINE, 0).reset();
    ctrl->runPerfBoost(EPERF_BOOST_MULTICAM_ZOOM, 0).reset();
    auto acquires = recpower::acquires();
    ASSERT_EQ(acquires.size(), 2u);
    EXPECT_EQ(acquires[0].list, (std::vector<int>{0x400000, 2000000, 0x400100, 500000, 0x400200, -1,
                                                  0x1404300, 1, 0x1404100, 1}));
    EXPECT_EQ(acquires[1].list, (std::vector<int>{0x400000, 1000000, 0x400100, 1500000}));

    // "maybe", "" and "2" keep their defaults (on); "YES" is not a boolean (default off);
    // "off" switches the DRAM QoS pair off; "1e3" leaves JSON off.
    EXPECT_EQ(platformList(), (std::vector<int>{0x1010100, 1, 0x2008400, 1, 0x2004000, 1, 0xc20000,
                                                2, 0x1468000, 0}));
    EXPECT_EQ(customdbl::api()->callCount(CUSTOMDBL_ENTER), 1);

    // An out-of-range scene reads as unset (the configured scene, 0); "garbage" is no
    // switch-off.
    EXPECT_TRUE(ctrl->setAffinity());
    EXPECT_EQ(customdbl::lastQuery().scene, 0);
}

struct FileCase {
    const char* name;
    std::string content;  // empty: QVNCAM_PROPERTIES names a directory
};

const FileCase kFiles[] = {
    {"Binary",
     std::string("\0\xff\x01=\x02\n\0\0=", 10) + "vendor.cam3dev.dvfsmmmode.enable\xff=0"},
    {"NoEquals", "vendor.cam3dev.dvfsmmmode.enable 0\n=0\n==\n"},
    {"LongLine", "vendor.cam3dev.dvfsmmmode.enable=" + std::string(200000, '0') + "\n"},
    {"Directory", ""},
};

void PrintTo(const FileCase& c, std::ostream* os) {
    *os << c.name;
}

class PropertyFile : public ::testing::TestWithParam<FileCase> {};

TEST_P(PropertyFile, GarbageFileReadsAsDefaults) {
    ASSERT_TRUE(recpower::available());
    scriptCustomisation();
    std::string path = ::testing::TempDir();
    if (!GetParam().content.empty()) {
        path += std::string("faults_") + GetParam().name + "_" + std::to_string(getpid());
        std::ofstream(path, std::ios::binary) << GetParam().content;
    }
    ASSERT_EQ(setenv("QVNCAM_PROPERTIES", path.c_str(), 1), 0);
    EXPECT_EQ(platformList(), kDefaultPlatform);
    if (!GetParam().content.empty()) {
        std::remove(path.c_str());
    }
}

INSTANTIATE_TEST_SUITE_P(Files, PropertyFile, ::testing::ValuesIn(kFiles),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
