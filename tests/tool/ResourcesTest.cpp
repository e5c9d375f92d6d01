// qvnperfctl resources: look-ups both ways and listings by class.

#include <gtest/gtest.h>

#include <algorithm>

#include "ToolRunner.h"

namespace {

size_t rows(const std::string& out) {
    return std::count(out.begin(), out.end(), '\n') - 1;  // less the header
}

struct Lookup {
    std::string arg;
    std::string row;  // the start of the one row, as squeeze() leaves it
    std::string ending;
};

TEST(Resources, LooksUpByNameIdAndClass) {
    const Lookup lookups[] = {
        {"PERF_RES_CPUFREQ_MIN_CLUSTER_0", "0x00400000 PERF_RES_CPUFREQ_MIN_CLUSTER_0 floor",
         " permitted"},
        {"cpufreq_max_cluster_2", "0x00404200 PERF_RES_CPUFREQ_MAX_CLUSTER_2 cap", " permitted"},
        {"0x1404100", "0x01404100 PERF_RES_SCHED_PREFER_IDLE_FG ", " permitted"},
        {"4194304", "0x00400000 PERF_RES_CPUFREQ_MIN_CLUSTER_0 ", " permitted"},
        {"0x03414100", "0x03414100 PERF_RES_SLC_PARTITION_CAMERA ", " permitted"},
        {"PERF_RES_NET_WIFI_TX_BOOST", "0x02800200 PERF_RES_NET_WIFI_TX_BOOST ", " -"},
    };
    for (const auto& lookup : lookups) {
        ToolRun run = runTool({"resources", lookup.arg});
        EXPECT_EQ(run.status, 0) << lookup.arg << run.err;
        EXPECT_EQ(rows(run.out), 1u) << run.out;
        std::string row = lineWith(squeeze(run.out), lookup.row);
        ASSERT_GE(row.size(), lookup.ending.size()) << run.out;
        EXPECT_EQ(row.substr(row.size() - lookup.ending.size()), lookup.ending) << row;
    }
}

TEST(Resources, ListsAClassWithItsPermittedOnesMarked) {
    ToolRun net = runTool({"resources", "net"});
    EXPECT_EQ(net.status, 0);
    EXPECT_EQ(rows(net.out), 19u);
    EXPECT_EQ(occurrences(net.out, "permitted"), 0u);

    ToolRun cfp = runTool({"resources", "CFP"});
    EXPECT_EQ(rows(cfp.out), 8u);
    EXPECT_EQ(occurrences(cfp.out, "permitted"), 1u);
    std::string enable = lineWith(cfp.out, "PERF_RES_CFP_ENABLE ");
    ASSERT_GE(enable.size(), 9u) << cfp.out;
    EXPECT_EQ(enable.substr(enable.size() - 9), "permitted") << cfp.out;

    ToolRun summary = runTool({"resources"});
    EXPECT_EQ(summary.status, 0);
    EXPECT_NE(squeeze(summary.out).find("\ntotal 392 266\n"), std::string::npos) << summary.out;
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
