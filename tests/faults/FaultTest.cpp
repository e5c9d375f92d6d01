// SPDX-License-Identifier: Apache-2.0
// Fault injection. Which power-service client and customisation library are found and how
// they answer, and what the JSON configuration and the properties hold: each case has one
// defined outcome, every operation still returns the object it promises, nothing crashes,
// a refused lock is never released and a granted one exactly once.

#include <gtest/gtest.h>
#include <sched.h>
#include <stdlib.h>
#include <unistd.h>

#include <climits>
#include <fstream>
#include <optional>
#include <set>

#include "Cam3PerfCtrl.h"
#include "CustomDouble.h"
#include "RecordingPowerClient.h"
#include "common/AllowedCpuMask.h"
#include "PerfCtrlProperties.h"
#include "qvncam/platform/Clock.h"
#include "qvncam/platform/HostControl.h"
#include "qvncam/platform/JsonText.h"
#include "qvncam/platform/VirtualClock.h"

namespace {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;
using List = std::vector<int>;

enum Alive { kNone, kAll, kSome };

struct LibraryCase {
    const char* name;
    bool client;  // the recording client is found with both entries
    RecPowerMode mode;
    Alive alive;     // operators that hold a lock
    bool entries;    // enter/configure/request customisation used: configure and requests answer
    bool placement;  // setAffinity succeeds and queryAffinity answers the library's mask
    friend void PrintTo(const LibraryCase& c, std::ostream* os) { *os << c.name; }
};

// In the order of the executables that find each client and library (see CMakeLists.txt).
const LibraryCase kLibraryCases[] = {
    {"ClientMissing", false, RECPOWER_GRANT_ALL, kNone, true, true},
    {"ClientWithoutRelease", false, RECPOWER_GRANT_ALL, kNone, true, true},
    {"CompleteLibrary", true, RECPOWER_GRANT_ALL, kAll, true, true},
    {"ClientRefusesAll", true, RECPOWER_REFUSE_ALL, kNone, true, true},
    {"ClientRefusesEveryOther", true, RECPOWER_REFUSE_EVERY_OTHER, kSome, true, true},
    {"NoLibrary", true, RECPOWER_GRANT_ALL, kAll, false, false},
    {"LibraryQueryOnly", true, RECPOWER_GRANT_ALL, kAll, false, true},
    {"LibraryWithoutRuntime", true, RECPOWER_GRANT_ALL, kAll, false, true},
};

class LibraryFault : public ::testing::TestWithParam<LibraryCase> {};

TEST_P(LibraryFault, SessionGetsItsObjectsAndLocksEndOnce) {
    const LibraryCase& c = GetParam();
    if (c.client)
        recpower::api()->setMode(c.mode, true);
    customdbl::scriptTypicalAnswers(allowedMask());
    Cam3PerfCtrl* ctrl = Cam3PerfCtrl::getInstance();
    // Time stands still, so a 200 ms lock cannot run out before the checks, however slow.
    qvncam::host::useVirtualClock(qvncam::platform::clock_now_us());
    {
        auto enter = ctrl->enterPerfCtrl_EnterCamera(200);
        auto config = ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
        ASSERT_TRUE(enter);
        ASSERT_EQ(config != nullptr, c.entries);
        std::vector<std::shared_ptr<PerfOperator>> ops = {
            enter->getPerfOperator(), ctrl->runPerfBoost(EPERF_BOOST_CAPTURE_PIPELINE, 200),
            ctrl->runDefaultBoost(0), ctrl->enablePerTaskEASControl(gettid(), 0x8003)};
        if (config)
            ops.push_back(config->getPerfOperator());
        PerfCtrlSet set{std::dynamic_pointer_cast<PerfOperatorImp>(ops[0]),
                        std::dynamic_pointer_cast<PerfOperatorImp>(config ? ops.back() : nullptr),
                        nullptr};
        for (int request = 0; request < 3; ++request)
            set.inflightHolder = ctrl->enterPerfCtrl_InflightRequest(request, nullptr, set);
        ASSERT_EQ(set.inflightHolder != nullptr, c.entries);
        for (const auto& op : ops) {
            ASSERT_TRUE(op);
            EXPECT_TRUE(c.alive == kSome || op->isAlive() == (c.alive == kAll));
            EXPECT_TRUE(c.alive != kNone || !op->detach());
            EXPECT_TRUE(op->exit());  // dropping it later must not end its lock again
        }
        EXPECT_EQ(ctrl->setAffinity(), c.placement);
        EXPECT_EQ(ctrl->queryAffinity("faults"), c.placement ? allowedMask() : 0);
    }
    if (!c.client)
        return;
    // A refused re-issue (an in-flight overwrite) replaces the operator's handle with 0, as
    // the lock protocol has it: that lock stays with the service, out of the operator's reach.
    std::set<int> orphaned;
    for (const auto& a : recpower::acquires())
        if (a.handleIn > 0 && a.result == 0)
            orphaned.insert(a.handleIn);
    // Every other granted lock was released, and (no bad release) only once.
    EXPECT_EQ(recpower::live(), List(orphaned.begin(), orphaned.end()));
    EXPECT_EQ(recpower::badReleases(), 0);
    EXPECT_EQ(recpower::releases().empty(), c.alive == kNone);
}

INSTANTIATE_TEST_SUITE_P(Found, LibraryFault,
                         ::testing::ValuesIn(kLibraryCases + FAULT_ROW_BEGIN,
                                             kLibraryCases + FAULT_ROW_END),
                         ::testing::PrintToStringParamName());

#ifdef FAULT_COMPLETE  // the recording client and the complete library are found

// The complete library answering unknown names, negative values, thousands of entries, a
// duration beyond int, overwrites with no operator to lay them on, and a negative mask.
TEST(LibraryFault, NonsenseAnswersAreContained) {
    const customdbl::Api* c = customdbl::api();
    c->reset();
    for (int i = 0; i < 3000; ++i)
        for (int entry : {CUSTOMDBL_ENTER, CUSTOMDBL_RUNTIME})
            c->setOutCmd(entry, ("NOT_A_RESOURCE_" + std::to_string(i)).c_str(), -i);
    c->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_CPUFREQ_MIN_CLUSTER_0", -1);
    c->setTimeout(CUSTOMDBL_ENTER, UINT_MAX);
    c->setOutCmd(CUSTOMDBL_CONFIG, "C2PS_SCENARIO", INT_MIN);
    c->setOutCmd(CUSTOMDBL_CONFIG, "CAM_CPU_AFFY_SCENE", INT_MIN);
    c->setOverwriteCmd(CUSTOMDBL_OVERWRITE_ENTER, "PERF_RES_CPUFREQ_MIN_CLUSTER_1", 1);
    recpower::reset();
    Cam3PerfCtrl* ctrl = Cam3PerfCtrl::getInstance();
    {
        auto enter = ctrl->enterPerfCtrl_EnterCamera(0);
        auto config = ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
        auto inflight = ctrl->enterPerfCtrl_InflightRequest(7, nullptr, PerfCtrlSet());
        ASSERT_TRUE(enter && config && inflight);
        // Only the known name survives, the duration arrives as the int it wraps to, and the
        // request's answer of unknown names only makes an empty lock.
        const auto a = recpower::acquires();
        ASSERT_EQ(a.size(), 5u);
        EXPECT_EQ(std::tie(a[2].list, a[2].duration, a[4].list),
                  std::make_tuple(List{0x400000, -1}, -1, List{}));
    }
    c->setQueryMask(INT_MIN);
    EXPECT_FALSE(ctrl->setAffinity());
    EXPECT_EQ(ctrl->queryAffinity("faults"), INT_MIN);
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
}

// The process starts with a file of garbage property values (see CMakeLists.txt): "off"
// switches the DRAM QoS pair off, "maybe", "" and "2" keep their defaults (on) and "YES",
// not a boolean, its default (off).
const List kDefaultPlatform = {0x1010100, 1, 0x2008400, 1, 0x2004000, 1,
                               0xc20000,  2, 0x1468000, 0, 0x1058000, 33330001};
const List kGarbagePlatform(kDefaultPlatform.begin(), kDefaultPlatform.end() - 2);
const List kFromLibrary = {0x400000, 1200000}, kFromJson = {0x400000, 1500000};
const std::string kEnter = "\"enter_cam\": {\"PERF_RES_CPUFREQ_MIN_CLUSTER_0\": 1500000}";

const std::string kWrongTypes =
    R"({"config_cam": 3, "enter_cam": {"PERF_RES_CPUFREQ_MIN_CLUSTER_0": "fast", )"
    R"("PERF_RES_CPUFREQ_MIN_CLUSTER_1": 1.5, "PERF_RES_DRAM_OPP_MIN": 1e12, "NO_SUCH": 7}})";

std::string padded(size_t bytes) {
    return "{\"padding\": \"" + std::string(bytes, 'x') + "\", " + kEnter + "}";
}

struct ConfigCase {
    const char* name;
    bool json;  // the text is the JSON document, else a property file replacing the garbage
    std::optional<std::string> text;  // none: no such file; a property file of "": a directory
    List custom = kFromLibrary;       // enter camera's custom lock
    friend void PrintTo(const ConfigCase& c, std::ostream* os) { *os << c.name; }
};

const ConfigCase kConfigCases[] = {
    {"JsonMissing", true, std::nullopt},
    {"JsonEmpty", true, ""},
    {"JsonTruncated", true, R"({"enter_cam": {"PERF_RES_CPUFREQ_MIN_CLUSTER_0": 15)"},
    {"JsonBinary", true, std::string("\0\xff\xfe{\x01", 5)},
    {"JsonTopLevelArray", true, "[1, 2, 3]"},
    // A present section of the wrong shape still counts as present: an empty list.
    {"JsonEnterCamArray", true, R"({"enter_cam": [1, 2]})", {}},
    // Values that are not 32-bit integers read as 0, unknown names are skipped, and a section
    // of the wrong shape leaves the other one alone.
    {"JsonWrongTypes", true, kWrongTypes, {0x400000, 0, 0x400100, 0, 0x1000000, 0}},
    {"JsonTenMegabytes", true, padded(10 << 20), kFromJson},
    {"JsonOverSixteenMegabytes", true, padded(17 << 20)},
    {"JsonNested10000Deep", true,
     "{\"deep\": " + std::string(10000, '[') + std::string(10000, ']') + ", " + kEnter + "}"},
    {"PropertiesBinary", false,
     std::string("\0\xff=\x02\n\0=", 7) + "vendor.cam3dev.dvfsmmmode.enable\xff=0"},
    {"PropertiesWithoutEquals", false, "vendor.cam3dev.dvfsmmmode.enable 0\n=0\n==\n"},
    {"PropertiesLongLine", false, "vendor.cam3dev.dvfsmmmode.enable=" + std::string(200000, '0')},
    {"PropertiesDirectory", false, ""},
};

class ConfigFault : public ::testing::TestWithParam<ConfigCase> {};

TEST_P(ConfigFault, OpeningTheCameraHasOneDefinedOutcome) {
    const ConfigCase& c = GetParam();
    const std::string path = ::testing::TempDir() + "faults_" + std::to_string(getpid());
    if (c.text)
        std::ofstream(path, std::ios::binary) << *c.text;
    qvncam::host::setProperty(PerfCtrlProperties::kEnableJson.name, "1");
    if (c.json)
        qvncam::host::setProperty(qvncam::platform::kJsonConfigProperty, path);
    else
        setenv("QVNCAM_PROPERTIES", c.text->empty() ? "/" : path.c_str(), 1);
    customdbl::scriptTypicalAnswers(1);
    recpower::reset();
    Cam3PerfCtrl* ctrl = Cam3PerfCtrl::getInstance();
    ctrl->runPerfBoost(EPERF_BOOST_CAPTURE_PIPELINE, 0).reset();
    const bool opened =
        ctrl->enterPerfCtrl_EnterCamera(0) && ctrl->enterPerfCtrl_ConfigureStream({});
    unlink(path.c_str());
    ASSERT_TRUE(opened);
    const auto a = recpower::acquires();
    ASSERT_EQ(a.size(), 5u);  // the boost; enter camera's platform, boost and custom; configure's
    // Read at load as libcutils reads them: "2.5GHz" by its prefix, "99999999999" out of
    // range (the default), "-1" sent as is.
    EXPECT_EQ(a[0].list,
              (List{0x400000, 2, 0x400100, 500000, 0x400200, -1, 0x1404300, 1, 0x1404100, 1}));
    EXPECT_EQ(a[1].list, c.json ? kGarbagePlatform : kDefaultPlatform);
    EXPECT_EQ(a[3].list, c.custom);
    // An out-of-range scene reads as unset (the configured one, 0); "garbage" is no switch-off.
    EXPECT_EQ(ctrl->queryAffinity("faults"), 1);
    EXPECT_EQ(customdbl::lastQuery().scene, 0);
    EXPECT_TRUE(recpower::live().empty());
    EXPECT_EQ(recpower::badReleases(), 0);
}

INSTANTIATE_TEST_SUITE_P(Configs, ConfigFault, ::testing::ValuesIn(kConfigCases),
                         ::testing::PrintToStringParamName());

#endif

}  // namespace
