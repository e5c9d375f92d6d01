// SPDX-License-Identifier: Apache-2.0
// qvnperfctl simulate: the example sessions against golden files of their whole output, and
// faulty scripts, hostile labels, refused locks and a reader that goes away.
//
// Refresh the golden files after a meant change of the output:
//   QVNPERFCTL_UPDATE_GOLDEN=1 ctest --test-dir build -R Golden

#include <json/json.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <array>
#include <regex>
#include <sstream>

#include "Golden.h"
#include "ToolRunner.h"

namespace {

// Boxes of the step and event markers as (x, y, width).
std::vector<std::array<double, 3>> markerBoxes(const std::string& picture) {
    static const std::regex box(
        "<rect x=\"([-0-9.]+)\" y=\"([-0-9.]+)\" width=\"([0-9.]+)\" height=\"14\" rx=");
    std::vector<std::array<double, 3>> boxes;
    for (std::sregex_iterator it(picture.begin(), picture.end(), box), end; it != end; ++it)
        boxes.push_back({std::stod((*it)[1]), std::stod((*it)[2]), std::stod((*it)[3])});
    return boxes;
}

// Well-formed, no NaN coordinates, and no marker drawn over another.
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
    EXPECT_EQ(std::system(("xmllint --noout '" + svg + "'").c_str()), 0);
}

struct GoldenCase {
    const char* name;
    std::vector<std::string> args;  // relative to the source tree, so the output is too
    friend void PrintTo(const GoldenCase& c, std::ostream* os) { *os << c.name; }
};

const GoldenCase kGoldenCases[] = {
    {"preview", {"examples/sessions/preview.json"}},
    {"video_4k60", {"examples/sessions/video_4k60.json"}},
    {"burst", {"examples/sessions/burst.json"}},
    {"multicam_zoom", {"examples/sessions/multicam_zoom.json"}},
    {"preview_json",
     {"examples/sessions/preview.json", "--config", "examples/config/perf_config.json", "--prop",
      "vendor.cam3dev.dvfsmmmode.enable=0"}},
};

class GoldenSession : public testing::TestWithParam<GoldenCase> {};

TEST_P(GoldenSession, WholeOutputMatchesItsGoldenFiles) {
    ASSERT_EQ(chdir(PROJECT_SOURCE_DIR), 0);
    const std::string trace = tempPath("trace.json"), svg = tempPath("picture.svg");
    std::vector<std::string> args = {"simulate"};
    args.insert(args.end(), GetParam().args.begin(), GetParam().args.end());
    args.insert(args.end(), {"--custom", EXAMPLE_CUSTOM_LIB, "--trace", trace, "--svg", svg});
    const ToolRun run = runTool(args);
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    expectGolden(GetParam().name, {{".txt", withoutTreePaths(run.out)},
                                   {".trace.json", readText(trace)},
                                   {".svg", readText(svg)}});
    checkPicture(svg);
    // Every lock is named by its role, not by its number.
    EXPECT_THAT(readText(svg), HasSubstr(">open camera: platform</text>"));
    EXPECT_THAT(readText(svg), testing::Not(HasSubstr("text-anchor=\"end\">lock ")));
}

INSTANTIATE_TEST_SUITE_P(Examples, GoldenSession, testing::ValuesIn(kGoldenCases),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Simulate, RunsWithoutACustomisationLibraryAndReportsLeakedLocks) {
    const ToolRun plain = runTool({"simulate", EXAMPLES_DIR "/sessions/preview.json"});
    ASSERT_EQ(plain.status, 0) << plain.out << plain.err;
    EXPECT_THAT(plain.out, HasSubstr("customisation  none\n"));
    EXPECT_THAT(plain.out, HasSubstr("no configure-stream lock"));
    // The same leak whichever clock the session plays on.
    for (const std::vector<std::string>& clock : {std::vector<std::string>{}, {"--real-time"}}) {
        std::vector<std::string> args = {"simulate", TOOL_TEST_DATA "/leaking_session.json"};
        args.insert(args.end(), clock.begin(), clock.end());
        const ToolRun leaking = runTool(args);
        EXPECT_EQ(leaking.status, 1) << leaking.out << leaking.err;
        EXPECT_THAT(leaking.out, HasSubstr("leaked locks: 1\n  lock 1 (open camera"));
        EXPECT_THAT(squeeze(leaking.out),
                    HasSubstr("expired lock 2 (open camera, boost 20 ms), 20 ms\n"));
        EXPECT_THAT(leaking.out, HasSubstr(", bad releases 0, live 1\n"));
    }
}

// The service refuses the JSON list once it has grown past 1024 ints: the 257th opening with
// the example configuration (two pairs more each time).
TEST(Simulate, RefusedLocksFailTheRunAndAreListedWithTheirSteps) {
    std::string script = "{\"steps\": [\n";
    for (int i = 0; i < 260; ++i)
        script +=
            "{\"op\": \"open\"},\n{\"op\": \"close\"}" + std::string(i < 259 ? ",\n" : "]}\n");
    const ToolRun run =
        runTool({"simulate", tempPath("reopen.json", script.c_str()), "--custom",
                 EXAMPLE_CUSTOM_LIB, "--config", EXAMPLES_DIR "/config/perf_config.json"});
    EXPECT_EQ(run.status, 1) << run.err;
    EXPECT_THAT(run.out, HasSubstr("leaked locks: none\nrefused requests: 4\n"
                                   "  at 0.0 ms, open camera, boost 0 ms  [line 514]: "
                                   "count beyond 1024\n"
                                   "  at 0.0 ms, open camera, boost 0 ms  [line 516]: "
                                   "count beyond 1024\n"
                                   "  at 0.0 ms, open camera, boost 0 ms  [line 518]: "
                                   "count beyond 1024\n"
                                   "  at 0.0 ms, open camera, boost 0 ms  [line 520]: "
                                   "count beyond 1024\n\n"));
}

// simulate ... | head: the reader goes before the timeline is written; that is no finding.
TEST(Simulate, AReaderThatGoesAwayEndsTheRunQuietly) {
    int fds[2];
    ASSERT_EQ(pipe(fds), 0);
    close(fds[0]);
    const std::string err = tempPath("stderr");
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGPIPE, SIG_DFL);  // as under a shell
        dup2(fds[1], STDOUT_FILENO);
        if (!freopen(err.c_str(), "w", stderr))
            _exit(126);
        execl(QVNPERFCTL_PATH, "qvnperfctl", "simulate", EXAMPLES_DIR "/sessions/preview.json",
              "--custom", EXAMPLE_CUSTOM_LIB, static_cast<char*>(nullptr));
        _exit(127);
    }
    close(fds[1]);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(readText(err), "");
}

// Labels come from the script: whatever they hold, the trace stays JSON and the picture
// well-formed UTF-8 XML, also where a long label is cut and when no lock was ever taken.
TEST(Simulate, HostileLabelsKeepTheTraceAndThePictureWellFormed) {
    const std::string wide(40, 'x');
    std::string accents;
    for (int i = 0; i < 40; ++i)
        accents += "\xc3\xa9";  // é, cut between its two bytes at a byte count
    const std::string script = R"({
        "description": "<script>&amp; \"q\" 's' \u0001 \uFFFE bad: )" +
                               std::string("\xff\xc3") + R"(",
        "steps": [{"op": "affinity", "thread": "<a&\"b'>\u0001"},
                  {"op": "prop", "name": "x)" +
                               accents + R"(", "value": "1"},
                  {"op": "prop", "name": "y)" +
                               wide + "\xe2\x82" + R"(", "value": "1"},
                  {"op": "wait", "ms": 1}]})";
    const std::string session = tempPath("odd.json", script.c_str());
    const std::string trace = tempPath("trace.json"), svg = tempPath("picture.svg");
    const ToolRun run = runTool({"simulate", session, "--trace", trace, "--svg", svg});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    Json::Value root;
    std::ifstream in(trace);
    std::string errors;
    ASSERT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), in, &root, &errors)) << errors;
    EXPECT_EQ(root["traceEvents"][3]["name"], "affinity for thread <a&\"b'>\x01");
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
    // Request numbers run on from step to step; the last must still be an int.
    const char* tooManyRequests = R"({ "steps": [
    { "op": "open" }, { "op": "configure", "streams": [] },
    { "op": "requests", "first": 2147473647, "count": 10000, "interval_ms": 1 },
    { "op": "requests", "count": 2 } ] })";
    // clang-format off
    const std::pair<const char*, std::vector<std::string>> cases[] = {
        {"{\n \"steps\": [\n  { \"op\": \"wait\" \"ms\": 3 }\n ]\n}\n", {"3: not valid JSON"}},
        {"{\n \"steps\": [] }\n", {"2: session: \"steps\" must be a non-empty array"}},
        // integers written as strings are read whole, as every number of ours is
        {"{ \"steps\": [ { \"op\": \"wait\", \"ms\": \" 5\" } ] }",
         {"1: wait: ms must be an integer from"}},
        {tooManyRequests, {"4: requests: request numbers would pass 2147483647 (from "
                           "2147483647, 2 requests)"}},
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

// A device reads an integer property by its numeric prefix; the tool says so for every
// property it passes, from the script, a prop step or --prop, and only for those.
TEST(Simulate, WarnsOfIntegerPropertiesADeviceReadsByTheirPrefix) {
    const std::string script = tempPath("props.json", R"({
  "properties": {"vendor.debug.multicam.zoom.cpu1.freq": "2.5GHz",
                 "vendor.cam3dev.dramcmd.enable": "2.5"},
  "steps": [{"op": "open"},
            {"op": "prop", "name": "vendor.cam3perfctrl.log", "value": "abc"},
            {"op": "prop", "name": "vendor.cam3perfctrl.log", "value": " 0x10"},
            {"op": "close"}]})");
    const ToolRun run =
        runTool({"simulate", script, "--prop", "vendor.cam3perfctrl.setaffinity.scene=010x"});
    EXPECT_EQ(run.status, 0) << run.err;
    EXPECT_THAT(run.err, HasSubstr("vendor.debug.multicam.zoom.cpu1.freq=2.5GHz is read as 2\n"));
    EXPECT_THAT(run.err, HasSubstr("vendor.cam3perfctrl.setaffinity.scene=010x is read as 8\n"));
    EXPECT_THAT(run.err, HasSubstr("vendor.cam3perfctrl.log=abc is not a number: the default 0 "
                                   "is used [line 5]"));
    EXPECT_THAT(run.err, testing::Not(HasSubstr("dramcmd")));  // a switch, not an integer
    EXPECT_THAT(run.err, testing::Not(HasSubstr("0x10")));     // read whole, blank and all
}

}  // namespace

// A NUL would cut a name where the controller or the kernel reads it: refused, and every
// message and line of text shows control characters escaped.
TEST(Simulate, NulsInNamesAreRefusedAndControlCharactersShownEscaped) {
    // clang-format off
    const std::pair<std::string, std::string> refused[] = {
        {R"({"properties": {"vendor.cam3perfctrl.log\u0000junk": 1}, "steps": [{"op": "wait"}]})",
         R"(session: property name "vendor.cam3perfctrl.log\u0000junk" holds a NUL character)"},
        {R"({"steps": [{"op": "prop", "name": "a\u0000b", "value": "1"}]})",
         R"(prop: property name "a\u0000b" holds a NUL character)"},
        {R"({"steps": [{"op": "prop", "name": "a", "value": "1\u0000"}]})",
         R"(the value of property "a" holds a NUL character)"},
        {R"({"steps": [{"op": "open\u0000junk"}]})", R"(:1: open\u0000junk: unknown op)"},
        {R"({"steps": [{"op": "affinity", "thread": "Cam\u0000X"}]})",
         R"(affinity: thread name "Cam\u0000X" holds a NUL character)"}};
    // clang-format on
    for (const auto& [script, message] : refused) {
        const ToolRun run = runTool({"simulate", tempPath("nul.json", script.c_str())});
        EXPECT_EQ(run.status, 2) << script;
        EXPECT_THAT(run.err, HasSubstr(message)) << run.err;
    }
    const ToolRun prop = runTool({"simulate", EXAMPLES_DIR "/sessions/preview.json", "--prop",
                                  "vendor.cam3perfctrl.log\n=1"});
    EXPECT_EQ(prop.status, 2);
    EXPECT_THAT(prop.err, HasSubstr("--prop property names cannot be empty or hold"));

    const ToolRun run = runTool({"simulate", tempPath("esc.json", R"({
        "description": "\u001b[2J\u009b31m", "steps": [{"op": "affinity", "thread": "\u001b]0;x\u0007"}]})")});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(run.out.find_first_of("\x1b\x07"), std::string::npos) << run.out;
    EXPECT_EQ(run.out.find("\xc2\x9b"), std::string::npos);
    EXPECT_THAT(run.out, HasSubstr("  \\u001b[2J\\u009b31m\n"));
    EXPECT_THAT(run.out, HasSubstr("affinity for thread \\u001b]0;x\\u0007  [line 2]"));
}
