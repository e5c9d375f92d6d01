// qvnperfctl simulate on every example session, on faulty scripts and options.

#include <json/json.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "ToolRunner.h"

namespace {

struct Counters {
    long granted = -1, reissued = -1, released = -1, expired = -1, afterExpiry = -1, refused = -1,
         badReleases = -1, live = -1;
};

Counters parseCounters(const std::string& out) {
    Counters c;
    std::string line = lineWith(out, "service counters: ");
    std::sscanf(line.c_str(),
                "service counters: granted %ld, re-issued %ld, released %ld, expired %ld, "
                "released after expiry %ld, refused %ld, bad releases %ld, live %ld",
                &c.granted, &c.reissued, &c.released, &c.expired, &c.afterExpiry, &c.refused,
                &c.badReleases, &c.live);
    return c;
}

bool hasXmllint() {
    return std::system("xmllint --version > /dev/null 2>&1") == 0;
}

struct SessionCase {
    const char* file;
    long minGranted;
    std::vector<std::string> keyLines;  // as squeeze() leaves them
};

// Lock numbers are handles of the host service: 1, 2, ... in the order of grants.
const SessionCase kSessions[] = {
    {"preview.json",
     6,
     {"open camera, boost 300 ms [line 4]", "queryAffinity: mask 0x1",
      "boost level 1, 500 ms [line 14]",
      "request 12 (captureIntent=STILL_CAPTURE)\ngranted lock 6, 300 ms",
      "expired lock 2 (open camera",
      "released lock 2 (open camera, boost 300 ms), after it had expired"}},
    {"video_4k60.json",
     7,
     {"configure 1920x1080 display, 3840x2160 video, 60-60 fps", "PERF_RES_DRAM_OPP_MIN 2",
      "queryAffinity: mask 0x2", "default boost, 200 ms", "EAS control for task ",
      ", flags 0x3 [line 14]", "VIDEO_SNAPSHOT)\nre-issued lock 4 ("}},
    {"burst.json",
     25,
     {"boost level 1, 2000 ms", "boost released [line 13]",
      "request 24 (captureIntent=STILL_CAPTURE)\ngranted lock "}},
    {"multicam_zoom.json",
     12,
     {"vendor.debug.multicam.zoom.dram.opp=3",
      // The zoom list replaces the table's level-2 list.
      "boost level 2, 250 ms [line 19]\ngranted lock 5, 250 ms\n"
      "PERF_RES_CPUFREQ_MIN_CLUSTER_0 1500000\nPERF_RES_CPUFREQ_MIN_CLUSTER_1 2000000\n"
      "PERF_RES_DRAM_OPP_MIN 3\n",
      "ZERO_SHUTTER_LAG)\nre-issued lock 3 (", "read only when the library loads"}},
};

void PrintTo(const SessionCase& c, std::ostream* os) {
    *os << c.file;
}

class ExampleSession : public ::testing::TestWithParam<SessionCase> {};

TEST_P(ExampleSession, RunsCleanWithItsKeyLinesTraceAndPicture) {
    const SessionCase& c = GetParam();
    std::string trace = tempPath("trace.json");
    std::string svg = tempPath("picture.svg");
    ToolRun run = runTool({"simulate", std::string(EXAMPLES_DIR) + "/sessions/" + c.file,
                           "--custom", EXAMPLE_CUSTOM_LIB, "--trace", trace, "--svg", svg});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_NE(run.out.find("customisation  " EXAMPLE_CUSTOM_LIB), std::string::npos) << run.out;
    const std::string out = squeeze(run.out);
    for (const auto& line : c.keyLines) {
        EXPECT_NE(out.find(line), std::string::npos) << "missing: " << line << "\n" << out;
    }

    Counters counters = parseCounters(run.out);
    EXPECT_GE(counters.granted, c.minGranted);
    EXPECT_EQ(counters.refused, 0);
    EXPECT_EQ(counters.badReleases, 0);
    EXPECT_EQ(counters.live, 0);
    EXPECT_EQ(counters.granted, counters.released + counters.expired);
    EXPECT_NE(run.out.find("leaked locks: none"), std::string::npos);

    Json::Value root;
    std::ifstream traceFile(trace);
    Json::CharReaderBuilder builder;
    std::string errors;
    ASSERT_TRUE(Json::parseFromStream(builder, traceFile, &root, &errors)) << errors;
    std::map<std::string, int> phases;
    std::set<std::string> counterTracks;
    for (const auto& e : root["traceEvents"]) {
        ++phases[e["ph"].asString()];
        if (e["ph"] == "C") {
            counterTracks.insert(e["name"].asString());
        }
        if (e["ph"] == "X") {
            EXPECT_TRUE(e["args"]["resources"].isObject());
        }
    }
    EXPECT_GE(phases["X"], counters.granted);
    EXPECT_EQ(counterTracks,
              (std::set<std::string>{"CPU floor, cluster 0", "CPU floor, cluster 1",
                                     "CPU floor, cluster 2", "DRAM operating point floor"}));

    if (!hasXmllint()) {
        GTEST_SKIP() << "xmllint missing: the SVG was not checked";
    }
    EXPECT_EQ(std::system(("xmllint --noout " + svg).c_str()), 0);
}

INSTANTIATE_TEST_SUITE_P(Examples, ExampleSession, ::testing::ValuesIn(kSessions),
                         [](const auto& info) {
                             std::string name = info.param.file;
                             return name.substr(0, name.find('.'));
                         });

TEST(Simulate, PropertiesAndJsonConfigurationReachTheController) {
    ToolRun run = runTool({"simulate", std::string(EXAMPLES_DIR) + "/sessions/preview.json",
                           "--custom", EXAMPLE_CUSTOM_LIB, "--config",
                           std::string(EXAMPLES_DIR) + "/config/perf_config.json", "--prop",
                           "vendor.cam3dev.dvfsmmmode.enable=0"});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    // enter_cam and config_cam of the configuration become the custom locks.
    const std::string out = squeeze(run.out);
    EXPECT_NE(out.find("PERF_RES_CPUFREQ_MIN_CLUSTER_0 1100000"), std::string::npos) << out;
    EXPECT_NE(out.find("granted lock 4, no expiry\nPERF_RES_CPUFREQ_MIN_CLUSTER_1 1500000"),
              std::string::npos);
    EXPECT_EQ(run.out.find("PERF_RES_DRAM_DVFS_QOSMM_MODE"), std::string::npos);
}

TEST(Simulate, WithoutCustomisationLibraryTheControllerRunsOnItsOwnTables) {
    ToolRun run = runTool({"simulate", std::string(EXAMPLES_DIR) + "/sessions/preview.json"});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_NE(run.out.find("customisation  none"), std::string::npos);
    EXPECT_NE(run.out.find("no configure-stream lock"), std::string::npos);
    EXPECT_NE(run.out.find("leaked locks: none"), std::string::npos);
}

TEST(Simulate, ReportsLocksLeftHeldAsLeaksAndFails) {
    ToolRun run = runTool({"simulate", TOOL_TEST_DATA "/leaking_session.json"});
    EXPECT_EQ(run.status, 1) << run.out << run.err;
    EXPECT_NE(run.out.find("leaked locks: 1\n  lock 1 (open camera"), std::string::npos) << run.out;
    EXPECT_EQ(parseCounters(run.out).live, 1);
}

struct BadScript {
    const char* text;
    int line;
    const char* message;
};

const BadScript kBadScripts[] = {
    {"{\n \"steps\": [\n  { \"op\": \"open\" },\n  { \"op\": \"wait\" \"ms\": 3 }\n ]\n}\n", 4,
     "not valid JSON"},
    {"{\n \"steps\": [] }\n", 2, "\"steps\" must be a non-empty array"},
    {"{\n \"steps\": [\n  { \"op\": \"open\" },\n  { \"op\": \"dance\" }\n ]\n}\n", 4,
     "unknown op"},
    {"{\n \"steps\": [\n  { \"op\": \"open\",\n    \"boost\": 3 }\n ]\n}\n", 4,
     "unknown member \"boost\""},
    {"{\n \"steps\": [\n  { \"op\": \"open\" },\n  { \"op\": \"requests\", \"count\": 2 }\n "
     "]\n}\n",
     4, "requests need configured streams"},
    {"{\n \"steps\": [\n  { \"op\": \"open\",\n    \"boost_ms\": -1 }\n ]\n}\n", 4,
     "boost_ms must be an integer from 0"},
    {"{\n \"steps\": [\n  { \"op\": \"wait\", \"ms\": 1,\n    \"ms\": 2 }\n ]\n}\n", 4,
     "\"ms\" given twice"},
    {"{\n \"steps\": [\n  { \"op\": \"close\" }\n ]\n}\n", 3, "the camera is not open"},
    {"{\n \"steps\": [\n  { \"op\": \"affinity\", \"thread\": \"SixteenCharsLong\" }\n ]\n}\n", 3,
     "1 to 15 characters"},
    {"{\n \"properties\": {\n   \"a=b\": 1 },\n \"steps\": [ { \"op\": \"wait\", \"ms\": 1 } "
     "]\n}\n",
     3, "property names cannot"},
};

TEST(Simulate, ScriptErrorsAreReportedWithTheirLineAndNothingRuns) {
    for (const auto& bad : kBadScripts) {
        std::string path = writeTemp("bad.json", bad.text);
        ToolRun run = runTool({"simulate", path});
        std::string expected = path + ":" + std::to_string(bad.line) + ": ";
        EXPECT_EQ(run.status, 2) << bad.text;
        EXPECT_NE(run.err.find(expected), std::string::npos) << run.err << "wanted " << expected;
        EXPECT_NE(run.err.find(bad.message), std::string::npos) << run.err;
        EXPECT_EQ(run.out, "");
    }
}

TEST(Simulate, CommandLineErrorsAreUsageErrors) {
    const std::string session = std::string(EXAMPLES_DIR) + "/sessions/preview.json";
    const std::vector<std::vector<std::string>> cases = {
        {"simulate"},
        {"simulate", session, "--bogus"},
        {"simulate", session, "--prop", "NOEQUALS"},
        {"simulate", session, "--custom", "/nonexistent/libcameracustom.so"},
        {"simulate", session, "--config", "/nonexistent/config.json"},
        {"simulate", "/nonexistent/session.json"},
        {"simulate", session, "--trace", "/nonexistent/dir/trace.json"},
    };
    for (const auto& args : cases) {
        ToolRun run = runTool(args);
        EXPECT_EQ(run.status, 2) << args.back();
        EXPECT_FALSE(run.err.empty());
        EXPECT_EQ(run.out, "");
    }
}

TEST(Cli, EveryCommandHasHelpAndUnknownCommandsFail) {
    for (const char* command : {"simulate", "check-config", "resources"}) {
        ToolRun run = runTool({command, "--help"});
        EXPECT_EQ(run.status, 0);
        EXPECT_EQ(run.out.rfind(std::string("usage: qvnperfctl ") + command, 0), 0u) << run.out;
    }
    EXPECT_EQ(runTool({"--help"}).status, 0);
    EXPECT_EQ(runTool({}).status, 2);
    ToolRun unknown = runTool({"frobnicate"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_NE(unknown.err.find("unknown command"), std::string::npos);
}

}  // namespace
