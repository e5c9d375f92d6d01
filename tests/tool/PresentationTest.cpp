// The timeline's presentations: lock bars and step series, the printed timeline, the
// Chrome trace and the SVG, on timelines made by hand.

#include <json/json.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "ChromeTrace.h"
#include "LockSpans.h"
#include "SvgWriter.h"
#include "TimelinePrinter.h"
#include "ToolRunner.h"

namespace qvnperfctl {
namespace {

const ResourceValue kFloor0{0x400000, 0, "PERF_RES_CPUFREQ_MIN_CLUSTER_0"};
const ResourceValue kDram{0x1000000, 0, "PERF_RES_DRAM_OPP_MIN"};

ResourceValue with(ResourceValue r, int value) {
    r.value = value;
    return r;
}

LockEvent lockEvent(LockEventKind kind, int handle, int64_t us,
                    std::vector<ResourceValue> content = {}) {
    LockEvent e;
    e.kind = kind;
    e.handle = handle;
    e.timeUs = us;
    e.durationMs = 100;
    e.pairs = content;
    e.lockPairs = content;
    return e;
}

Entry entry(int64_t us, std::string step, std::vector<LockEvent> events,
            std::vector<ResourceValue> effective, bool perRequest = false) {
    Entry e;
    e.timeUs = us;
    e.step = std::move(step);
    e.events = std::move(events);
    e.effective = std::move(effective);
    e.perRequest = perRequest;
    return e;
}

// Lock 1 granted, re-issued, expired and released late; lock 2 granted and released;
// lock 3 still held at the end.
Timeline sampleTimeline() {
    Timeline t;
    t.sessionPath = "sample.json";
    t.entries.push_back(entry(0, "open camera",
                              {lockEvent(LockEventKind::Granted, 1, 10, {with(kFloor0, 1000)})},
                              {with(kFloor0, 1000)}));
    t.entries.push_back(entry(1000, "request 1",
                              {lockEvent(LockEventKind::Reissued, 1, 1010, {with(kFloor0, 2000)}),
                               lockEvent(LockEventKind::Granted, 2, 1020, {with(kDram, 3)})},
                              {with(kFloor0, 2000), with(kDram, 3)}, true));
    for (int i = 0; i < 4; ++i) {
        t.entries.push_back(entry(2000 + i, "request " + std::to_string(2 + i), {},
                                  {with(kFloor0, 2000), with(kDram, 3)}, true));
    }
    t.entries.push_back(entry(3000, "request 1 done", {lockEvent(LockEventKind::Released, 2, 3000)},
                              {with(kFloor0, 2000)}, true));
    t.entries.push_back(entry(4000, "expiry", {lockEvent(LockEventKind::Expired, 1, 4000)}, {}));
    LockEvent late = lockEvent(LockEventKind::Released, 1, 5000);
    late.afterExpiry = true;
    t.entries.push_back(entry(5000, "close camera",
                              {late, lockEvent(LockEventKind::Granted, 3, 5000, {with(kDram, 1)})},
                              {with(kDram, 1)}));
    for (const auto& e : t.entries) {
        for (const auto& ev : e.events) {
            if (ev.kind == LockEventKind::Granted)
                t.lockOrigin[ev.handle] = e.step;
        }
    }
    t.endUs = 6000;
    return t;
}

TEST(Picture, BarsFollowGrantsReissuesAndEndings) {
    Picture p = buildPicture(sampleTimeline());
    ASSERT_EQ(p.bars.size(), 3u);
    EXPECT_EQ(p.bars[0].startUs, 10);
    EXPECT_EQ(p.bars[0].endUs, 4000);  // expiry, not the late release
    EXPECT_EQ(p.bars[0].ending, "expired");
    ASSERT_EQ(p.bars[0].contents.size(), 2u);
    EXPECT_EQ(p.bars[0].contents[1].second[0].value, 2000);
    EXPECT_EQ(p.bars[1].ending, "released");
    EXPECT_EQ(p.bars[1].origin, "request 1");
    EXPECT_EQ(p.bars[2].endUs, 6000);
    EXPECT_EQ(p.bars[2].ending, "held at the end");

    using Points = std::vector<std::pair<int64_t, std::optional<int>>>;
    EXPECT_EQ(p.cpuFloors[0].points,
              (Points{{0, std::nullopt}, {10, 1000}, {1020, 2000}, {4000, std::nullopt}}));
    EXPECT_EQ(p.cpuFloors[1].points, (Points{{0, std::nullopt}}));
    EXPECT_EQ(p.dram.points,
              (Points{{0, std::nullopt}, {1020, 3}, {3000, std::nullopt}, {5000, 1}}));
    ASSERT_EQ(p.steps.size(), 2u);  // requests and expiries are not steps
    EXPECT_EQ(p.steps[1].label, "close camera");
}

std::string printed(const Timeline& t) {
    std::string path = tempPath("timeline.txt");
    std::FILE* out = std::fopen(path.c_str(), "w");
    printTimeline(t, out);
    std::fclose(out);
    std::ifstream in(path);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

TEST(TimelinePrinter, ShowsEventsEffectiveChangesAndCollapsesQuietSteps) {
    Timeline t = sampleTimeline();
    t.counters.badReleases = 0;
    t.leaks.push_back({3, "close camera", 0, 5000, -1, {with(kDram, 1)}});
    std::string out = printed(t);
    const char* expected[] = {
        "re-issued  lock 1 (open camera), 100 ms, adding",
        "effective  PERF_RES_CPUFREQ_MIN_CLUSTER_0           1000 -> 2000",
        "PERF_RES_DRAM_OPP_MIN                    none -> 3",
        "request 2 ... request 5: 4 steps, no lock changes",
        "released   lock 1 (open camera), after it had expired",
        "PERF_RES_CPUFREQ_MIN_CLUSTER_0           2000 -> none",
        "leaked locks: 1\n  lock 3 (close camera), granted at 5.0 ms, no expiry",
    };
    for (const char* line : expected) {
        EXPECT_NE(out.find(line), std::string::npos) << "missing: " << line << "\n" << out;
    }
}

TEST(ChromeTrace, IsJsonWithLockSlicesAndCounterTracks) {
    Timeline t = sampleTimeline();
    t.entries[0].step = "odd \"name\" \\ with\ncontrol \x01 characters";
    std::string path = tempPath("trace.json");
    ASSERT_TRUE(writeChromeTrace(t, buildPicture(t), path));
    std::ifstream in(path);
    Json::Value root;
    std::string errors;
    ASSERT_TRUE(Json::parseFromStream(Json::CharReaderBuilder(), in, &root, &errors)) << errors;
    int slices = 0;
    Json::Value lastCluster0;
    for (const auto& e : root["traceEvents"]) {
        if (e["ph"] == "X")
            ++slices;
        if (e["ph"] == "C" && e["name"] == "CPU floor, cluster 0")
            lastCluster0 = e;
        if (e["ph"] == "i" && e["ts"] == 0) {
            EXPECT_EQ(e["name"].asString(), t.entries[0].step);
        }
    }
    EXPECT_EQ(slices, 4);  // lock 1 in two parts, locks 2 and 3
    EXPECT_EQ(lastCluster0["ts"].asInt64(), 6000);
    EXPECT_EQ(lastCluster0["args"]["value"].asInt(), 0);
}

TEST(SvgWriter, IsWellFormedWhateverTheLabels) {
    if (std::system("xmllint --version > /dev/null 2>&1") != 0)
        GTEST_SKIP() << "no xmllint";
    Timeline t = sampleTimeline();
    t.entries[0].step = "<script>&amp; \"quoted\" 'single' \x01\x1f";
    t.lockOrigin[1] = t.entries[0].step;
    for (const Timeline& timeline : {t, Timeline()}) {  // and one with nothing at all
        std::string path = tempPath("picture.svg");
        ASSERT_TRUE(writeSvg(buildPicture(timeline), "title <&>", path));
        EXPECT_EQ(std::system(("xmllint --noout " + path).c_str()), 0);
        std::ifstream in(path);
        std::ostringstream svg;
        svg << in.rdbuf();
        EXPECT_EQ(svg.str().find("nan"), std::string::npos);
        EXPECT_EQ(svg.str().find("inf"), std::string::npos);
    }
}

}  // namespace
}  // namespace qvnperfctl
