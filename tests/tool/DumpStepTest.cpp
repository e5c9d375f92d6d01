// SPDX-License-Identifier: Apache-2.0
// The simulator's dump step: every live lock of the power service belongs to exactly one
// operator the dump lists, and every listed operator that holds a lock has it there.

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "ToolRunner.h"

namespace {

struct DumpView {
    std::map<int, std::string> operators;  // handle -> state, for handles of 1 and more
    int listedOperators = 0;
    std::vector<int> serviceLocks;
};

// The dumps of a simulate run, in order, and which step granted each lock.
struct Parsed {
    std::vector<DumpView> dumps;
    std::map<int, std::string> origin;
};

Parsed parse(const std::string& out) {
    static const std::regex stepLine(R"(^ *[0-9.]+ ms  (.*?)(  \[line \d+\])?$)");
    static const std::regex granted(R"(^ +granted +lock (\d+),)");
    static const std::regex op(R"(^ +#\d+ ".*" handle (-?\d+): ([a-z ]+?)[,;])");
    static const std::regex service(R"(^ +power service: \d+ live locks?(: (.*))?$)");
    Parsed parsed;
    std::istringstream lines(out);
    std::string step;
    std::smatch m;
    for (std::string line; std::getline(lines, line);) {
        if (std::regex_match(line, m, stepLine)) {
            step = m[1];
            if (step == "dump")
                parsed.dumps.emplace_back();
        } else if (std::regex_search(line, m, granted)) {
            parsed.origin[std::stoi(m[1])] = step;
        } else if (step == "dump" && std::regex_search(line, m, op)) {
            ++parsed.dumps.back().listedOperators;
            const int handle = std::stoi(m[1]);
            if (handle >= 1) {
                EXPECT_EQ(parsed.dumps.back().operators.count(handle), 0u)
                    << "listed twice: " << line;
                parsed.dumps.back().operators[handle] = m[2];
            }
        } else if (step == "dump" && std::regex_match(line, m, service)) {
            std::istringstream locks(m[2].str());
            for (std::string lock; std::getline(locks, lock, ',');)
                parsed.dumps.back().serviceLocks.push_back(std::stoi(lock));
        }
    }
    return parsed;
}

}  // namespace

TEST(DumpStep, EveryLiveLockHasExactlyOneListedOperator) {
    const std::string session = tempPath("dump.json", R"({"steps": [
        {"op": "dump"},
        {"op": "open", "boost_ms": 60000},
        {"op": "configure", "streams": [{"width": 1920, "height": 1080, "usage": ["gpu_texture"]}]},
        {"op": "requests", "count": 4, "complete_after": 2},
        {"op": "boost", "level": "default", "timeout_ms": 60000},
        {"op": "boost", "level": 2, "timeout_ms": 0},
        {"op": "boost", "level": 1, "timeout_ms": 60000, "release_after_ms": 50000},
        {"op": "eas", "tid": "self", "flags": 3},
        {"op": "dump"},
        {"op": "close"},
        {"op": "dump"}]})");
    const ToolRun run = runTool({"simulate", session, "--custom", EXAMPLE_CUSTOM_LIB});
    const Parsed parsed = parse(run.out);
    ASSERT_EQ(parsed.dumps.size(), 3u) << run.out << run.err;
    // The detached default boost's lock runs on in the service after its operator is gone.
    std::set<int> detached;
    for (const auto& [handle, step] : parsed.origin) {
        if (step.rfind("default boost", 0) == 0)
            detached.insert(handle);
    }
    ASSERT_EQ(detached.size(), 1u) << run.out;

    const size_t expectedLocks[] = {0, 8, 1};
    for (size_t i = 0; i < parsed.dumps.size(); ++i) {
        const DumpView& dump = parsed.dumps[i];
        SCOPED_TRACE("dump " + std::to_string(i + 1));
        EXPECT_EQ(dump.serviceLocks.size(), expectedLocks[i]) << run.out;
        for (int lock : dump.serviceLocks) {
            if (detached.count(lock) == 0) {
                EXPECT_EQ(dump.operators.count(lock), 1u) << "lock " << lock << " has no operator";
            }
        }
        for (const auto& [handle, state] : dump.operators) {
            if (state == "held" || state == "timed") {
                EXPECT_EQ(std::count(dump.serviceLocks.begin(), dump.serviceLocks.end(), handle), 1)
                    << "operator with handle " << handle << " has no lock";
            }
        }
        EXPECT_EQ(dump.listedOperators, static_cast<int>(dump.operators.size()));
    }
}

// On the virtual clock the dump shows the session's times and the simulated task, not the
// process id, the wall-clock date or a thread id of this run.
TEST(DumpStep, OnTheVirtualClockTwoRunsPrintTheSame) {
    const std::string session = tempPath("dump.json", R"({"steps": [
        {"op": "open", "boost_ms": 300}, {"op": "boost", "level": 1, "timeout_ms": 500},
        {"op": "boost", "level": "default", "timeout_ms": 500, "release_after_ms": 400},
        {"op": "wait", "ms": 100}, {"op": "dump"}, {"op": "close"}]})");
    const ToolRun first = runTool({"simulate", session, "--custom", EXAMPLE_CUSTOM_LIB});
    const ToolRun second = runTool({"simulate", session, "--custom", EXAMPLE_CUSTOM_LIB});
    ASSERT_EQ(first.status, 0) << first.err;
    EXPECT_EQ(first.out, second.out);
    EXPECT_THAT(first.out, HasSubstr("qvncam_perfctrl, pid 1000, at 100.0 ms\n"));
    EXPECT_THAT(first.out, HasSubstr("\"runDefaultBoost-1000\" handle 5: timed, 500 ms, 400 ms "
                                     "left; age 100 ms (since 0.0 ms)\n"));
}
