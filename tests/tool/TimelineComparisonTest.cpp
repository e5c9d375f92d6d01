// SPDX-License-Identifier: Apache-2.0
// The pieces of qvnperfctl compare that need no simulation: the timeline file, the
// time at each value, where two timelines part, and text that fits.

#include <gmock/gmock.h>
#include <unistd.h>

#include <fstream>

#include "timeline/Comparison.h"
#include "svg/SvgParts.h"
#include "timeline/TimelineFile.h"

namespace qvnperfctl {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr int kCluster0 = 0x00400000;  // a floor
constexpr int kCap0 = 0x00404000;      // a cap
constexpr int kUnknown = 0x7ff00000;   // neither: the latest lock wins

std::string nameOf(int id) {
    return id == kCluster0 ? "PERF_RES_CPUFREQ_MIN_CLUSTER_0"
           : id == kCap0   ? "PERF_RES_CPUFREQ_MAX_CLUSTER_0"
                           : "0x7ff00000";
}

// A timeline whose entries set one resource: (time in ms, step, value or -1 for none).
Timeline timeline(int id, const std::vector<std::tuple<int, std::string, int>>& steps, int endMs) {
    Timeline t;
    int line = 1;
    for (const auto& [ms, step, value] : steps) {
        Entry e;
        e.timeUs = ms * 1000;
        e.step = step;
        e.scriptLine = step == "expiry" ? 0 : ++line;
        std::vector<ResourceValue> effective;
        if (value >= 0)
            effective.push_back({id, value, nameOf(id)});
        e.effective = std::make_shared<const std::vector<ResourceValue>>(std::move(effective));
        t.entries.push_back(e);
    }
    t.endUs = endMs * 1000;
    return t;
}

TEST(TimelineFile, ReadsBackEverythingItWrote) {
    Timeline t = timeline(kCluster0, {{0, "open camera", 1400000}, {5, "expiry", -1}}, 9);
    t.sessionPath = "s.json";
    t.description = "caf\xc3\xa9 \"quoted\"\n";
    t.setup = {{"customisation", "none"}, {"", "a=b"}};
    t.entries[0].notes = {"note"};
    t.entries[0].marks = {"thread CamPreview on CPUs 0 (mask 0x1)"};
    t.entries[0].perRequest = true;
    for (int k = 0; k <= static_cast<int>(LockEventKind::BadRelease); ++k) {
        LockEvent e;
        e.kind = static_cast<LockEventKind>(k);
        e.handle = k + 1;
        e.durationMs = 300;
        e.timeUs = int64_t{5'000'000'000} + k;  // past 32 bits
        e.afterExpiry = k == 2;
        e.reason = k == 4 ? "too many locks" : "";
        e.pairs = {{kCluster0, 1, "PERF_RES_CPUFREQ_MIN_CLUSTER_0"}};
        e.lockPairs = {{kUnknown, -7, "0x7ff00000"}};
        t.entries[1].events.push_back(e);
    }
    t.lockOrigin = {{1, "open camera"}, {12, "request 3"}};
    t.lockRole = {{1, "open camera: platform"}};
    t.counters = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    t.leaks = {{1, "open camera", 0, 10, -1, {{kCluster0, 2, "x"}}}};
    t.stillTimed = {{2, "boost", 500, 20, 480, {}}};

    const std::string path = testing::TempDir() + "timeline." + std::to_string(getpid());
    ASSERT_TRUE(std::ofstream(path) << timelineFileText(t));
    Timeline back;
    std::string error;
    ASSERT_TRUE(readTimelineFile(path, back, error)) << error;
    std::remove(path.c_str());

    // Written again, the copy gives the very same file.
    EXPECT_EQ(timelineFileText(back), timelineFileText(t));

    EXPECT_EQ(back.description, t.description);
    EXPECT_EQ(back.entries[1].events[4].timeUs, int64_t{5'000'000'004});
    EXPECT_EQ(back.entries[1].events[5].kind, LockEventKind::BadRelease);
    EXPECT_EQ(back.lockRole.at(1), "open camera: platform");
    EXPECT_EQ(back.counters.events_dropped, 9u);
    EXPECT_EQ(back.leaks[0].timeLeftMs, -1);
    EXPECT_FALSE(back.clean());
}

TEST(TimelineFile, RefusesWhatIsNotATimeline) {
    const std::string path = testing::TempDir() + "bad." + std::to_string(getpid());
    const std::pair<const char*, const char*> cases[] = {
        {"{", "not valid JSON"},
        {"[]", "not a timeline"},
        {R"({"format": 2})", "unknown format"},
        {R"({"format": 1, "session": 3})", "\"session\""},
    };
    for (const auto& [text, message] : cases) {
        std::ofstream(path) << text;
        Timeline t;
        std::string error;
        EXPECT_FALSE(readTimelineFile(path, t, error)) << text;
        EXPECT_THAT(error, HasSubstr(message)) << text;
    }
    std::remove(path.c_str());
    Timeline t;
    std::string error;
    EXPECT_FALSE(readTimelineFile(path, t, error));
    EXPECT_THAT(error, HasSubstr("cannot read"));
}

TEST(ResourceTimes, FloorsAddUpAtOrAboveAndOtherResourcesAtEachValue) {
    const auto steps = std::vector<std::tuple<int, std::string, int>>{
        {0, "a", -1},        {100, "b", 1000000}, {300, "c", 2000000},
        {300, "d", 1500000}, {600, "e", 2000000}, {700, "f", -1}};
    const Timeline floor = timeline(kCluster0, steps, 1000);
    const ResourceTrack track = trackOf(floor, nameOf(kCluster0));
    // Two entries at one moment: only the later value is a point.
    EXPECT_EQ(track.points.size(), 5u);
    std::vector<std::pair<std::string, int64_t>> rows;
    for (const auto& row : timeAtValue({&track}, {floor.endUs}))
        rows.emplace_back(row.label, row.usBy[0]);
    EXPECT_THAT(rows, ElementsAre(std::pair<std::string, int64_t>{"not held", 400'000},
                                  std::pair<std::string, int64_t>{"at or above 1 GHz", 600'000},
                                  std::pair<std::string, int64_t>{"at or above 1.5 GHz", 400'000},
                                  std::pair<std::string, int64_t>{"at or above 2 GHz", 100'000}));

    const Timeline capped = timeline(kCap0, steps, 1000);
    const ResourceTrack cap = trackOf(capped, nameOf(kCap0));
    rows.clear();
    for (const auto& row : timeAtValue({&cap}, {capped.endUs}))
        rows.emplace_back(row.label, row.usBy[0]);
    EXPECT_THAT(rows, ElementsAre(std::pair<std::string, int64_t>{"not held", 400'000},
                                  std::pair<std::string, int64_t>{"at or below 1 GHz", 200'000},
                                  std::pair<std::string, int64_t>{"at or below 1.5 GHz", 500'000},
                                  std::pair<std::string, int64_t>{"at or below 2 GHz", 600'000}));

    const Timeline latest = timeline(kUnknown, steps, 1000);
    const ResourceTrack unknown = trackOf(latest, nameOf(kUnknown));
    rows.clear();
    for (const auto& row : timeAtValue({&unknown}, {latest.endUs}))
        rows.emplace_back(row.label, row.usBy[0]);
    EXPECT_THAT(rows, ElementsAre(std::pair<std::string, int64_t>{"not held", 400'000},
                                  std::pair<std::string, int64_t>{"at 1000000", 200'000},
                                  std::pair<std::string, int64_t>{"at 1500000", 300'000},
                                  std::pair<std::string, int64_t>{"at 2000000", 100'000}));
}

TEST(Comparison, FindsWhereTheSidesPartAndIgnoresWhatIsTheSame) {
    using Steps = std::vector<std::tuple<int, std::string, int>>;
    const Steps base = {{0, "open", 1000000}, {200, "configure", 1400000}, {500, "close", -1}};
    struct Case {
        const char* what;
        Steps b;
        std::optional<int64_t> firstUs;
        std::string step;
    };
    // clang-format off
    const Case cases[] = {
        {"the same", base, std::nullopt, ""},
        {"another value from a step", {{0, "open", 1000000}, {200, "configure", 1800000},
                                       {500, "close", -1}}, 200'000, "step \"configure\""},
        {"an expiry on one side", {{0, "open", 1000000}, {100, "expiry", -1},
                                   {200, "configure", 1400000}, {500, "close", -1}},
         100'000, "expiry of"},
        {"the same step 1 ms later", {{0, "open", 1000000}, {201, "configure", 1400000},
                                      {500, "close", -1}}, 200'000, "step \"configure\""},
    };
    // clang-format on
    const Timeline a = timeline(kCluster0, base, 600);
    for (const Case& c : cases) {
        const Timeline b = timeline(kCluster0, c.b, 600);
        const Comparison comparison = compareTimelines(a, b);
        ASSERT_EQ(comparison.resources.size(), c.firstUs ? 1u : 0u) << c.what;
        if (!c.firstUs)
            continue;
        const auto first = comparison.first();
        EXPECT_EQ(first->first.timeUs, *c.firstUs) << c.what;
        EXPECT_THAT(first->first.step, testing::StartsWith(c.step)) << c.what;
        EXPECT_EQ(first->rows.front().usBy.size(), 2u) << c.what;
    }
}

TEST(SvgText, CutsOnCharacterBoundaries) {
    const std::string e = "\xc3\xa9";              // é, two bytes
    const std::string yen = "\xe5\x86\x86";        // 円, three bytes
    const std::string smile = "\xf0\x9f\x98\x80";  // four bytes
    const std::pair<std::string, std::string> cases[] = {
        {"short", "short"},
        {"exactly10!", "exactly10!"},
        {"eleven char", "eleven ..."},
        {e + e + e + e + e + e + e + e + e + e, e + e + e + e + e + e + e + e + e + e},
        {e + e + e + e + e + e + e + e + e + e + e, e + e + e + e + e + e + e + "..."},
        {"abcdef" + yen + yen + yen + smile + "x", "abcdef" + yen + "..."},
        {"abcdef" + smile + smile + smile + smile + smile, "abcdef" + smile + "..."},
    };
    for (const auto& [text, fitted] : cases)
        EXPECT_EQ(svg::fit(text, 10), fitted) << text;
}

}  // namespace
}  // namespace qvnperfctl
