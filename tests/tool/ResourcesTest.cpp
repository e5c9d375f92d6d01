// qvnperfctl resources: look-ups both ways and listings by class.

#include <gtest/gtest.h>

#include <regex>

#include "ToolRunner.h"

namespace {

size_t rows(const std::string& out) {
    return std::count(out.begin(), out.end(), '\n') - 1;  // less the header
}

struct Lookup {
    std::vector<std::string> args;
    std::string row;  // a regular expression one row must match
};

TEST(Resources, LooksUpByNameIdAndClass) {
    const Lookup lookups[] = {
        {{"PERF_RES_CPUFREQ_MIN_CLUSTER_0"},
         R"(0x00400000 +PERF_RES_CPUFREQ_MIN_CLUSTER_0 +floor +permitted)"},
        {{"cpufreq_max_cluster_2"}, R"(0x00404200 +PERF_RES_CPUFREQ_MAX_CLUSTER_2 +cap)"},
        {{"0x1404100"}, R"(0x01404100 +PERF_RES_SCHED_PREFER_IDLE_FG )"},
        {{"4194304"}, R"(0x00400000 +PERF_RES_CPUFREQ_MIN_CLUSTER_0 )"},
        {{"0x03414100"}, R"(PERF_RES_SLC_PARTITION_CAMERA +\w+ +permitted)"},
        {{"PERF_RES_NET_WIFI_TX_BOOST"}, R"(PERF_RES_NET_WIFI_TX_BOOST +\w+ +-\n)"},
    };
    for (const auto& lookup : lookups) {
        ToolRun run = runTool([&] {
            std::vector<std::string> args = {"resources"};
            args.insert(args.end(), lookup.args.begin(), lookup.args.end());
            return args;
        }());
        EXPECT_EQ(run.status, 0) << lookup.args[0] << run.err;
        EXPECT_EQ(rows(run.out), 1u) << run.out;
        EXPECT_TRUE(std::regex_search(run.out, std::regex(lookup.row))) << run.out;
    }
}

TEST(Resources, ListsAClassWithItsPermittedOnesMarked) {
    ToolRun net = runTool({"resources", "net"});
    EXPECT_EQ(net.status, 0);
    EXPECT_EQ(rows(net.out), 19u);
    EXPECT_EQ(net.out.find("permitted"), std::string::npos);

    ToolRun cfp = runTool({"resources", "CFP"});
    EXPECT_EQ(rows(cfp.out), 8u);
    EXPECT_TRUE(std::regex_search(cfp.out, std::regex(R"(PERF_RES_CFP_ENABLE +\w+ +permitted)")));
    EXPECT_EQ(std::regex_search(cfp.out, std::regex(R"(permitted[\s\S]*permitted)")), false);

    ToolRun summary = runTool({"resources"});
    EXPECT_EQ(summary.status, 0);
    EXPECT_TRUE(std::regex_search(summary.out, std::regex(R"(\ntotal +392 +266\n)")))
        << summary.out;
}

TEST(Resources, UnknownArgumentsAreReportedAndTheRestStillListed) {
    ToolRun run = runTool({"resources", "PERF_RES_NOPE", "0x00400100", "0x12"});
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("PERF_RES_NOPE: not in the vocabulary"), std::string::npos);
    EXPECT_NE(run.err.find("0x12: not in the vocabulary"), std::string::npos);
    EXPECT_NE(run.out.find("PERF_RES_CPUFREQ_MIN_CLUSTER_1"), std::string::npos);
    EXPECT_EQ(runTool({"resources", "--bogus"}).status, 2);
}

}  // namespace
