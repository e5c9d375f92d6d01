// qvnperfctl check-config on a clean and on faulty configurations.

#include <gtest/gtest.h>

#include "ToolRunner.h"

namespace {

TEST(CheckConfig, TheExampleConfigurationIsClean) {
    std::string path = std::string(EXAMPLES_DIR) + "/config/perf_config.json";
    ToolRun run = runTool({"check-config", path});
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    EXPECT_EQ(run.out, path + ": ok\n");
}

TEST(CheckConfig, FindsEveryKindOfProblemWithItsLine) {
    const std::string path = TOOL_TEST_DATA "/faulty_config.json";
    const std::pair<int, std::string> expected[] = {
        {4,
         "\"PERF_RES_CPUFREQ_MIN_CLUSTER_9\" in \"enter_cam\" is not a resource of the "
         "vocabulary"},
        {5,
         "\"PERF_RES_NET_WIFI_TX_BOOST\" in \"enter_cam\" is not permitted in "
         "configuration"},
        {6,
         "value of \"PERF_RES_CPUFREQ_MIN_CLUSTER_1\" must be an integer, not a number "
         "with a fraction"},
        {7, "value of \"PERF_RES_CPUFREQ_MIN_CLUSTER_2\" must be an integer, not a string"},
        {8, "value 4294967296 of \"PERF_RES_DRAM_OPP_MIN\" does not fit in 32 bits"},
        {9,
         "duplicate name \"PERF_RES_CPUFREQ_MIN_CLUSTER_0\" in \"enter_cam\" (first at "
         "line 3"},
        {11, "\"config_cam\" must be an object, not an array"},
        {12, "unknown top-level member \"enter_cam_typo\""},
        {13, "duplicate name \"enter_cam_typo\" in the top level (first at line 12"},
    };
    ToolRun run = runTool({"check-config", path});
    EXPECT_EQ(run.status, 1);
    for (const auto& [line, message] : expected) {
        std::string wanted = path + ":" + std::to_string(line) + ": " + message;
        EXPECT_NE(run.out.find(wanted), std::string::npos) << "missing: " << wanted << "\n"
                                                           << run.out;
    }
    // Nothing else: the known-good members on lines 3 and 11's siblings pass.
    EXPECT_NE(run.out.find(path + ": 10 problems\n"), std::string::npos) << run.out;
}

TEST(CheckConfig, MalformedOrMisshapenFilesAreProblemsAndMissingFilesUsageErrors) {
    ToolRun truncated = runTool({"check-config", TOOL_TEST_DATA "/truncated_config.json"});
    EXPECT_EQ(truncated.status, 1);
    EXPECT_NE(truncated.out.find("truncated_config.json:4: not valid JSON"), std::string::npos)
        << truncated.out;

    std::string array = writeTemp("array.json", "\n[ 1 ]\n");
    ToolRun top = runTool({"check-config", array});
    EXPECT_EQ(top.status, 1);
    EXPECT_NE(top.out.find(array + ":2: the top level must be an object"), std::string::npos)
        << top.out;

    std::string trailing = writeTemp("trailing.json", "{}\n\n}\n");
    EXPECT_NE(runTool({"check-config", trailing}).out.find(trailing + ":3: not valid JSON"),
              std::string::npos);

    ToolRun missing = runTool({"check-config", "/nonexistent/config.json"});
    EXPECT_EQ(missing.status, 2);
    EXPECT_NE(missing.err.find("cannot read /nonexistent/config.json"), std::string::npos);
    EXPECT_EQ(runTool({"check-config"}).status, 2);
}

}  // namespace
