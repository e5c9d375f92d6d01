// SPDX-License-Identifier: Apache-2.0
// qvnperfctl compare on the examples' what-if, on a leaking side and on bad command lines.

#include "Golden.h"
#include "ToolRunner.h"

namespace {

const std::string kPreview = EXAMPLES_DIR "/sessions/preview.json";

// The README's what-if: the example policy against the power-saving one, whole output
// and picture.
TEST(GoldenCompare, ShowsOnlyTheResourcesThatDifferWithTheirTimesAndLockCounts) {
    ASSERT_EQ(chdir(PROJECT_SOURCE_DIR), 0);
    const std::string svg = tempPath("compare.svg");
    const ToolRun run =
        runTool({"compare", "examples/sessions/preview.json", "--svg", svg, "--a", "--custom",
                 EXAMPLE_CUSTOM_LIB, "--b", "--custom", POWER_SAVING_CUSTOM_LIB});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    // The platform lock is the same on both sides: none of its resources is listed.
    EXPECT_THAT(run.out, testing::Not(HasSubstr("PERF_RES_FPS_ZELTRO_ENABLE")));
    expectGolden("compare_preview",
                 {{".txt", withoutTreePaths(run.out)}, {".svg", withoutTreePaths(readText(svg))}});
    // Per chart, A solid and B dashed.
    const std::string picture = readText(svg);
    int dashed = 0;
    for (size_t at = 0;
         (at = picture.find("stroke-dasharray=\"7,4\" points", at)) != std::string::npos; ++at)
        ++dashed;
    EXPECT_GE(dashed, 4);
    EXPECT_EQ(
        std::system(
            ("xmllint --noout " + svg + " 2>/dev/null || ! command -v xmllint >/dev/null").c_str()),
        0);
}

TEST(Compare, SameTuningOnBothSidesShowsNoDifference) {
    const std::string svg = tempPath("same.svg");
    const ToolRun run =
        runTool({"compare", kPreview, "--cust", EXAMPLE_CUSTOM_LIB, "--sv", svg, "--a", "--b"});
    ASSERT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_THAT(readText(svg), HasSubstr("</svg>"));
    EXPECT_THAT(run.out, HasSubstr("\nno difference: every resource holds the same values"));
    EXPECT_THAT(run.out, testing::Not(HasSubstr("first difference")));
}

TEST(Compare, ASessionAfterDoubleDashPlaysOnBothSides) {
    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"compare", "--a", "--b", "--", kPreview},
          std::vector<std::string>{"compare", kPreview, "--a", "--b", "--"}}) {
        const ToolRun run = runTool(args);
        EXPECT_EQ(run.status, 0) << run.err;
        EXPECT_THAT(run.out, HasSubstr("no difference"));
    }
}

TEST(Compare, AProblemOnEitherSideExitsOne) {
    const ToolRun run = runTool({"compare", TOOL_TEST_DATA "/leaking_session.json", "--a", "--b"});
    EXPECT_EQ(run.status, 1) << run.out << run.err;
    EXPECT_THAT(squeeze(run.out), HasSubstr("leaked 1 1\n"));
    EXPECT_THAT(run.out, HasSubstr("A leaked lock 1 (open camera: platform)"));
    EXPECT_THAT(run.err, HasSubstr("side B had problems"));
}

TEST(Compare, BadCommandLinesExitTwoBeforeAnythingRuns) {
    // clang-format off
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{kPreview}, "needs both --a and --b"},
        {{kPreview, "--a"}, "needs both --a and --b"},
        {{kPreview, "--b", "--a"}, "--a must come before --b"},
        {{kPreview, "--a", "--a", "--b"}, "--a given twice"},
        {{kPreview, "--a", "--svg", "x.svg", "--b"}, "give it before --a"},
        {{kPreview, "--svg"}, "--svg needs a value"},
        {{kPreview, "--trace", "t.json", "--a", "--b"}, "--trace is for simulate"},
        {{kPreview, "--a", "--real-time", "--b"}, "--real-time is for simulate"},
        // abbreviations land where their full names would
        {{kPreview, "--a", "--real", "--b"}, "--real-time is for simulate"},
        {{kPreview, "--a", "--sv", "x.svg", "--b"}, "give it before --a"},
        {{kPreview, "--a", "--b", "--tra", "t.json"}, "--trace is for simulate"},
        {{kPreview, "--time=t.json", "--a", "--b"}, "--timeline is for simulate"},
        {{kPreview, "--svg=", "--a", "--b"}, "--svg needs a value"},
        {{kPreview, "--sv=", "--a", "--b"}, "--svg needs a value"},
        {{kPreview, "--a", "--b", "--colour"}, "side B: unknown option --colour"},
        {{kPreview, "--a=1", "--b"}, "--a takes no value"},
        {{kPreview, "--a", "--b=x"}, "--b takes no value"},
        {{"--a", "--prop", "x", "--b"}, "side A: --prop needs NAME=VALUE"},
        {{"--a", "--b"}, "missing SESSION.json"},
        {{kPreview, "--svg", "/no/such/dir/x.svg", "--a", "--b"}, "cannot write /no/such/dir/x.svg"},
        {{TOOL_TEST_DATA "/no_such_session.json", "--a", "--b"}, "could not run"},
    };
    // clang-format on
    for (const auto& [args, message] : cases) {
        std::vector<std::string> command = {"compare"};
        command.insert(command.end(), args.begin(), args.end());
        const ToolRun run = runTool(command);
        EXPECT_EQ(run.status, 2) << message;
        EXPECT_EQ(run.out, "") << message;
        EXPECT_THAT(run.err, HasSubstr(message));
    }
}

}  // namespace
