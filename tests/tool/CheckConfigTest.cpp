// SPDX-License-Identifier: Apache-2.0
// qvnperfctl check-config and resources, and the command line every command shares.

#include <sys/stat.h>

#include <algorithm>

#include "ToolRunner.h"

namespace {

TEST(CheckConfig, FindsEveryKindOfProblemWithItsLine) {
    const std::string path = TOOL_TEST_DATA "/faulty_config.json";
    // clang-format off
    const std::pair<int, std::string> expected[] = {
        {4, R"("PERF_RES_CPUFREQ_MIN_CLUSTER_9" in "enter_cam" is not a resource of the)"},
        {5, R"("PERF_RES_NET_WIFI_TX_BOOST" in "enter_cam" is not permitted in configuration)"},
        {6, R"(value 1.5 of "PERF_RES_CPUFREQ_MIN_CLUSTER_1" is not a whole number: read as 0)"},
        {7, R"(value of "PERF_RES_CPUFREQ_MIN_CLUSTER_2" must be an integer, not a string: read)"},
        {8, R"(value 4294967296 of "PERF_RES_DRAM_OPP_MIN" is out of range (-2147483648 to 2)"},
        {9, R"(duplicate name "PERF_RES_CPUFREQ_MIN_CLUSTER_0" in "enter_cam" (first at line 3)"},
        {11, R"("config_cam" must be an object, not an array)"},
        {12, R"(unknown top-level member "enter_cam_typo")"},
        {13, R"(duplicate name "enter_cam_typo" in the top level (first at line 12)"},
        {13, R"(unknown top-level member "enter_cam_typo")"}};
    // clang-format on
    const ToolRun run = runTool({"check-config", path});
    EXPECT_EQ(run.status, 1);
    size_t at = 0;  // in this order, and nothing else
    for (const auto& [line, message] : expected) {
        at = run.out.find(path + ":" + std::to_string(line) + ": " + message, at);
        EXPECT_NE(at, std::string::npos) << line << ": " << message << "\n" << run.out;
    }
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 11) << run.out;
    EXPECT_THAT(run.out, testing::EndsWith(path + ": 10 problems\n"));
}

TEST(CheckConfig, CleanMalformedAndMisshapenFiles) {
    const std::pair<std::string, const char*> cases[] = {
        {EXAMPLES_DIR "/config/perf_config.json", ": ok\n"},
        // what the controller reads: comments ended by \r, a trailing comma
        {tempPath("c.json", "// made by hand\r{\"enter_cam\": {\"PERF_RES_GPU_FW_IDLE\": 1,}}"),
         ": ok\n"},
        {tempPath("c.json", "{\n  \"enter_cam\": {\n    \"A\": 1 \"B\": 2\n  }\n}\n"),
         ":3: not loaded by the controller"},
        {tempPath("c.json", "\n[ 1 ]\n"), ":2: the top level must be an object"},
        {tempPath("c.json", "{}\n\n}\n"), ":3: not loaded by the controller"},
        {tempPath("c.json", ("{\"a\":\n" + std::string(101, '[') + "]").c_str()),
         ":2: not loaded by the controller: nesting deeper than 100"},
        {tempPath("c.json", std::string(16 * 1024 * 1024 + 1, ' ').c_str()),
         ":1: not loaded by the controller: "}};
    for (const auto& [path, verdict] : cases) {
        const ToolRun run = runTool({"check-config", path});
        EXPECT_EQ(run.status, std::string(verdict) == ": ok\n" ? 0 : 1) << run.out << run.err;
        EXPECT_THAT(run.out, testing::StartsWith(path + verdict));
    }
}

// Each value is reported with what the controller uses in its place.
TEST(CheckConfig, ValuesReadOtherwiseThanWrittenAndNamesShownWhole) {
    const std::string path =
        tempPath("v.json",
                 "{\"enter_cam\": {\n\"PERF_RES_GPU_FW_IDLE\": 3.0,\n\"PERF_RES_DRAM_OPP_MIN\": "
                 "\"12\",\n\"PERF_RES_CPUFREQ_MIN_CLUSTER_0\": true,\n\"PERF_RES_CPUFREQ_MIN_"
                 "CLUSTER_1\": 1e2,\n\"PERF_RES_CPUFREQ_MIN_CLUSTER_2\": "
                 "-123456789012345678901234567890,\n\"PERF_RES_\\u0000X\\n\": 2.5}}");
    const ToolRun run = runTool({"check-config", path});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out.substr(run.out.find('\n', run.out.find("problems")) + 1), "") << run.out;
    for (const char* problem :
         {R"(:2: value 3.0 of "PERF_RES_GPU_FW_IDLE" is read as 3)",
          R"(:3: value of "PERF_RES_DRAM_OPP_MIN" must be an integer, not a string: read as 0)",
          R"(:4: value of "PERF_RES_CPUFREQ_MIN_CLUSTER_0" must be an integer, not a boolean)",
          R"(:5: value 1e2 of "PERF_RES_CPUFREQ_MIN_CLUSTER_1" is read as 100)",
          R"(:6: value -123456789012345678901234567890 of "PERF_RES_CPUFREQ_MIN_CLUSTER_2" is )"
          R"(out of range)",
          R"(:7: "PERF_RES_\u0000X\u000a" in "enter_cam" is not a resource of the vocabulary)",
          R"(:7: value 2.5 of "PERF_RES_\u0000X\u000a" is not a whole number: read as 0)"})
        EXPECT_THAT(run.out, HasSubstr(path + problem)) << run.out;
    EXPECT_THAT(run.out, testing::EndsWith(": 7 problems\n"));
}

// The controller appends the file's pairs at every camera open; --show says so after the
// lists, where a tuner reads them.
TEST(CheckConfig, ShowSaysThatLaterOpensAppendThePairsAgain) {
    const std::string note = "each later camera open appends the file's pairs again";
    const ToolRun run =
        runTool({"check-config", "--show", EXAMPLES_DIR "/config/perf_config.json"});
    EXPECT_THAT(run.out,
                testing::EndsWith("  " + note + ": the second open sends every pair twice\n"));
    EXPECT_THAT(runTool({"check-config", "--show", tempPath("e.json", "{}")}).out,
                testing::Not(HasSubstr(note)));
}

TEST(Resources, LooksUpByNameOrIdWithItsRuleAndWhetherConfigurationMayNameIt) {
    const ToolRun run =
        runTool({"resources", "PERF_RES_CPUFREQ_MIN_CLUSTER_0", "cpufreq_max_cluster_2",
                 "PERF_RES_NOPE", "0x1404100", "4194304", "0x12", "PERF_RES_NET_WIFI_TX_BOOST"});
    EXPECT_EQ(run.status, 1);  // the unknown ones are reported, the rest still listed
    EXPECT_EQ(run.err,
              "qvnperfctl resources: PERF_RES_NOPE: not in the vocabulary\n"
              "qvnperfctl resources: 0x12: not in the vocabulary\n");
    EXPECT_EQ(squeeze(run.out),
              "ID NAME RULE CONFIG\n"
              "0x00400000 PERF_RES_CPUFREQ_MIN_CLUSTER_0 floor permitted\n"
              "0x00404200 PERF_RES_CPUFREQ_MAX_CLUSTER_2 cap permitted\n"
              "0x01404100 PERF_RES_SCHED_PREFER_IDLE_FG latest permitted\n"
              "0x00400000 PERF_RES_CPUFREQ_MIN_CLUSTER_0 floor permitted\n"
              "0x02800200 PERF_RES_NET_WIFI_TX_BOOST floor -\n");
}

TEST(Resources, ListsAClassWithItsPermittedOnesMarkedAndSumsUpTheVocabulary) {
    const ToolRun net = runTool({"resources", "net"}), cfp = runTool({"resources", "CFP"});
    EXPECT_EQ(std::count(net.out.begin(), net.out.end(), '\n'), 20);  // with the header
    EXPECT_THAT(net.out, testing::Not(HasSubstr("permitted")));
    EXPECT_EQ(std::count(cfp.out.begin(), cfp.out.end(), '\n'), 9);
    EXPECT_EQ(cfp.out.find("permitted"), cfp.out.rfind("permitted"));
    EXPECT_THAT(squeeze(cfp.out), HasSubstr(" PERF_RES_CFP_ENABLE latest permitted\n"));
    EXPECT_THAT(squeeze(runTool({"resources"}).out), HasSubstr("\ntotal 392 266\n"));
}

TEST(Cli, EveryCommandHasHelpAndUsageErrorsExitWithTwo) {
    for (const char* command : {"simulate", "check-config", "resources"}) {
        const ToolRun run = runTool({command, "--help"});
        EXPECT_EQ(run.status, 0);
        EXPECT_THAT(run.out, testing::StartsWith(std::string("usage: qvnperfctl ") + command));
    }
    const std::string session = EXAMPLES_DIR "/sessions/preview.json", fifo = tempPath("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);  // a FIFO with no writer must not hang the read
    // clang-format off
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "usage: qvnperfctl COMMAND"},
        {{"frobnicate"}, "qvnperfctl: unknown command 'frobnicate'"},
        {{"check-config", "/nonexistent/c.json"}, "check-config: cannot read /nonexistent/c.json"},
        {{"check-config", fifo}, "check-config: cannot read " + fifo + ": not a regular file"},
        {{"check-config", "/"}, "check-config: cannot read /: not a regular file"},
        {{"check-config", "--shw", "/"}, "check-config: unknown option --shw"},
        {{"simulate", "/nonexistent/s.json"}, "simulate: cannot read /nonexistent/s.json"},
        {{"simulate", session, "--bogus"}, "simulate: unknown option --bogus"},
        {{"simulate", session, "--prop", "NOEQUALS"}, "simulate: --prop needs NAME=VALUE"},
        {{"simulate", session, "--custom", "/nonexistent/l.so"}, "cannot read /nonexistent/l.so"},
        {{"simulate", session, "--trace", "/nonexistent/t.json"}, "cannot write /nonexistent/t"}};
    // clang-format on
    for (const auto& [args, message] : cases) {
        const ToolRun run = runTool(args);
        EXPECT_EQ(run.status, 2) << message;
        EXPECT_THAT(run.err, HasSubstr(message));
        EXPECT_EQ(run.out, "");
    }
}

}  // namespace
