// qvnperfctl simulate on every example session, on faulty scripts and on hostile labels.

#include <json/json.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <array>
#include <map>
#include <regex>
#include <set>

#include "ToolRunner.h"

namespace {

// Parses the trace and checks its counter tracks and that an expired lock's slice ends at
// its expiry; returns its events as "PHASE NAME", lock slices as "X HOW-IT-ENDED".
std::multiset<std::string> traceEvents(const std::string& trace) {
    Json::Value root;
    std::ifstream in(trace);
    std::string errors;
    EXPECT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), in, &root, &errors)) << errors;
    std::multiset<std::string> events;
    for (const auto& e : root["traceEvents"]) {
        events.insert(e["ph"].asString() + " " +
                      (e["ph"] == "X" ? e["args"]["ended"] : e["name"]).asString());
        const bool expired = e["args"]["ended"] == "expired";
        EXPECT_TRUE(e["ph"] != "X" || e["args"]["resources"].isObject()) << e;
        EXPECT_TRUE(!expired || e["dur"].asInt64() == e["args"]["duration_ms"].asInt64() * 1000)
            << e;
    }
    for (const char* track : {"CPU floor, cluster 0", "CPU floor, cluster 1",
                              "CPU floor, cluster 2", "DRAM operating point floor"})
        EXPECT_GT(events.count(std::string("C ") + track), 0u) << track;
    return events;
}

// Boxes of the step and event markers as (x, y, width).
std::vector<std::array<double, 3>> markerBoxes(const std::string& picture) {
    static const std::regex box(
        "<rect x=\"([-0-9.]+)\" y=\"([-0-9.]+)\" width=\"([0-9.]+)\" height=\"14\" rx=");
    std::vector<std::array<double, 3>> boxes;
    for (std::sregex_iterator it(picture.begin(), picture.end(), box), end; it != end; ++it)
        boxes.push_back({std::stod((*it)[1]), std::stod((*it)[2]), std::stod((*it)[3])});
    return boxes;
}

void checkPicture(const std::string& svg) {
    const std::string picture = readText(svg);
    EXPECT_THAT(picture, testing::Not(testing::ContainsRegex("[^a-z]-?(nan|inf)[^a-z]")));
    const auto boxes = markerBoxes(picture);
    for (size_t i = 0; i < boxes.size(); ++i) {
        for (size_t j = i + 1; j < boxes.size(); ++j) {
            const auto &a = boxes[i], &b = boxes[j];
            EXPECT_FALSE(a[1] == b[1] && a[0] < b[0] + b[2] && b[0] < a[0] + a[2])
                << "markers " << i + 1 << " and " << j + 1 << " overlap in " << svg;
        }
    }
    if (std::system("xmllint --version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "xmllint missing: the SVG was not checked";
    EXPECT_EQ(std::system(("xmllint --noout " + svg).c_str()), 0);
}

struct SessionCase {
    long minGranted;
    std::vector<std::string> keyLines;  // as squeeze() leaves them
};

// Lock numbers are handles of the host service: 1, 2, ... in the order of grants.
// clang-format off
const std::map<std::string, SessionCase> kSessions = {
    {"preview", {6, {
        "open camera, boost 300 ms [line 4]", "event thread CamPreview on CPUs ",
        "(mask 0x1)", " no lock changes\n",
        "boost level 1, 500 ms [line 14]\ngranted lock 5, 500 ms",
        "request 12 (captureIntent=STILL_CAPTURE)\ngranted lock 6, 300 ms",
        "expired lock 2 (open camera, boost 300 ms), 300 ms\n"
        "effective PERF_RES_CPUFREQ_MIN_CLUSTER_0 4000000 -> 1400000\n",
        "released lock 2 (open camera, boost 300 ms), after it had expired"}}},
    {"video_4k60", {7, {
        "configure 1920x1080 display, 3840x2160 video, 60-60 fps", "PERF_RES_DRAM_OPP_MIN 2",
        "event thread CamEncode on CPUs ", "(mask 0x2)", "default boost, 200 ms", "EAS control for task ",
        ", flags 0x3 [line 14]", "VIDEO_SNAPSHOT)\nre-issued lock 4 ("}}},
    {"burst", {25, {
        "boost level 1, 2000 ms", "boost released [line 13]",
        "request 24 (captureIntent=STILL_CAPTURE)\ngranted lock "}}},
    {"multicam_zoom", {12, {
        "vendor.debug.multicam.zoom.dram.opp=3", "read only when the library loads",
        "ZERO_SHUTTER_LAG)\nre-issued lock 3 (",
        // The zoom list replaces the table's level-2 list.
        "boost level 2, 250 ms [line 19]\ngranted lock 5, 250 ms\n"
        "PERF_RES_CPUFREQ_MIN_CLUSTER_0 1500000\nPERF_RES_CPUFREQ_MIN_CLUSTER_1 2000000\n"
        "PERF_RES_DRAM_OPP_MIN 3\n"}}}};
// clang-format on

class ExampleSession : public ::testing::TestWithParam<std::string> {};

TEST_P(ExampleSession, RunsCleanWithItsKeyLinesTraceAndPicture) {
    const SessionCase& c = kSessions.at(GetParam());
    const std::string trace = tempPath("trace.json"), svg = tempPath("picture.svg");
    const ToolRun run = runTool({"simulate", EXAMPLES_DIR "/sessions/" + GetParam() + ".json",
                                 "--custom", EXAMPLE_CUSTOM_LIB, "--trace", trace, "--svg", svg});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    for (const auto& line : c.keyLines)
        EXPECT_THAT(squeeze(run.out), HasSubstr(line));
    long granted = -1, released = -1, expired = -1;
    const char* counters = std::strstr(run.out.c_str(), "service counters: ");
    ASSERT_EQ(std::sscanf(counters ? counters : "",
                          "service counters: granted %ld, re-issued %*d, released %ld, expired %ld",
                          &granted, &released, &expired),
              3);
    EXPECT_GE(granted, c.minGranted);
    EXPECT_EQ(granted, released + expired);
    EXPECT_THAT(run.out, HasSubstr(", refused 0, bad releases 0, live 0\n"
                                   "timed locks still running: none\nleaked locks: none\n\n"
                                   "time at each effective value:\n"));
    const auto events = traceEvents(trace);  // an expired lock's slice ends at its expiry
    EXPECT_EQ(long(events.count("X expired")), expired);
    EXPECT_GE(long(events.count("X released")), released);
    checkPicture(svg);
    // Every lock is named by its role.
    EXPECT_THAT(readText(svg), HasSubstr(">open camera: platform</text>"));
    EXPECT_THAT(readText(svg), testing::Not(HasSubstr("text-anchor=\"end\">lock ")));
}

INSTANTIATE_TEST_SUITE_P(Examples, ExampleSession,
                         ::testing::Values("preview", "video_4k60", "burst", "multicam_zoom"),
                         [](const auto& info) { return info.param; });

TEST(Simulate, PropertiesAndJsonConfigurationReachTheController) {
    const ToolRun run =
        runTool({"simulate", EXAMPLES_DIR "/sessions/preview.json", "--custom", EXAMPLE_CUSTOM_LIB,
                 "--config", EXAMPLES_DIR "/config/perf_config.json", "--prop",
                 "vendor.cam3dev.dvfsmmmode.enable=0"});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    // enter_cam and config_cam of the configuration become the custom locks.
    EXPECT_THAT(squeeze(run.out), HasSubstr("PERF_RES_CPUFREQ_MIN_CLUSTER_0 1100000"));
    EXPECT_THAT(squeeze(run.out), HasSubstr("granted lock 4, no expiry\n"
                                            "PERF_RES_CPUFREQ_MIN_CLUSTER_1 1500000"));
    EXPECT_THAT(run.out, testing::Not(HasSubstr("PERF_RES_DRAM_DVFS_QOSMM_MODE")));
}

TEST(Simulate, RunsWithoutACustomisationLibraryAndReportsLeakedLocks) {
    const ToolRun plain = runTool({"simulate", EXAMPLES_DIR "/sessions/preview.json"});
    ASSERT_EQ(plain.status, 0) << plain.out << plain.err;
    EXPECT_THAT(plain.out, HasSubstr("customisation  none\n"));
    EXPECT_THAT(plain.out, HasSubstr("no configure-stream lock"));
    EXPECT_THAT(plain.out, HasSubstr("\nleaked locks: none\n"));
    const ToolRun leaking = runTool({"simulate", TOOL_TEST_DATA "/leaking_session.json"});
    EXPECT_EQ(leaking.status, 1) << leaking.out << leaking.err;
    EXPECT_THAT(leaking.out, HasSubstr("leaked locks: 1\n  lock 1 (open camera"));
    EXPECT_THAT(leaking.out, HasSubstr(", bad releases 0, live 1\n"));
}

// Labels come from the script: whatever they hold, the trace stays JSON and the picture
// XML, even when no lock was ever taken.
TEST(Simulate, HostileLabelsKeepTheTraceAndThePictureWellFormed) {
    const std::string session = tempPath("odd.json", R"({
        "description": "<script>&amp; \"q\" 's' \u0001",
        "steps": [{"op": "affinity", "thread": "<a&\"b'>\u0001"}, {"op": "wait", "ms": 1}]})");
    const std::string trace = tempPath("trace.json"), svg = tempPath("picture.svg");
    const ToolRun run = runTool({"simulate", session, "--trace", trace, "--svg", svg});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(traceEvents(trace).count("i affinity for thread <a&\"b'>\x01"), 1u);
    checkPicture(svg);
}

TEST(Simulate, ScriptErrorsAreReportedWithTheirLinesAndNothingRuns) {
    const char* everyProblem = R"({
  "properties": { "a=b": 1 },
  "steps": [
    { "op": "close" },
    { "op": "open", "boost_ms": -1, "boost": 3 },
    { "op": "requests", "count": 2 },
    { "op": "configure", "streams": [ { "usage": ["x"] } ], "fps": [30] },
    { "op": "requests", "count": 1, "metadata": { "no.such.tag": 1 } },
    { "op": "eas" }, { "op": "dance" },
    { "op": "wait", "ms": 1, "ms": 2 }, { "op": "affinity", "thread": "SixteenCharsLong" }
  ], "extra": 1
})";
    // clang-format off
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"{\n \"steps\": [\n  { \"op\": \"wait\" \"ms\": 3 }\n ]\n}\n", {"3: not valid JSON"}},
        {"{\n \"steps\": [] }\n", {"2: session: \"steps\" must be a non-empty array"}},
        {everyProblem, {
            "2: session: property names cannot be empty", "4: close: the camera is not open",
            "5: open: boost_ms must be an integer from 0 to", "5: open: unknown member \"boost\"",
            "6: requests: requests need configured streams", "7: stream: missing \"width\"",
            "7: stream: usage (gpu_texture, composer_overlay, video_encoder or a number) must be",
            "7: configure: fps must be [min, max]", "8: requests: unknown metadata tag no.such.tag",
            "9: eas: missing \"flags\"", "9: dance: unknown op", "10: wait: \"ms\" given twice",
            "10: affinity: thread names have 1 to 15", "11: session: unknown member \"extra\""}}};
    // clang-format on
    for (const auto& [script, problems] : cases) {
        const std::string path = tempPath("bad.json", script);
        const ToolRun run = runTool({"simulate", path});
        EXPECT_EQ(run.status, 2);
        EXPECT_EQ(run.out, "");
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), long(problems.size()))
            << run.err;
        for (const std::string& problem : problems)
            EXPECT_THAT(run.err, HasSubstr(path + ":" + problem));
    }
}

}  // namespace
