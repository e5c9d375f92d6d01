// Reading JSON with positions, and session scripts into steps.

#include <gtest/gtest.h>

#include "JsonSource.h"
#include "SessionScript.h"

namespace qvnperfctl {
namespace {

TEST(JsonSource, ParseErrorsCarryTheirLine) {
    const std::pair<std::string, int> cases[] = {
        {"{\n  \"a\": 1,\n  \"b\": \n}\n", 4},                     // value missing
        {"{\n  \"a\": 1\n}\n\nextra\n", 5},                        // text after the document
        {"{\n  \"a\": [1, 2,\n", 3},                               // cut short
        {std::string(100000, '[') + std::string(100000, ']'), 1},  // deeper than the reader allows
    };
    for (const auto& [text, line] : cases) {
        JsonSource source;
        EXPECT_EQ(source.parse("t.json", text), JsonSource::Status::ParseError)
            << text.substr(0, 40);
        EXPECT_EQ(source.errorLine(), line) << text.substr(0, 40);
        EXPECT_FALSE(source.error().empty());
    }
    JsonSource missing;
    EXPECT_EQ(missing.load("/nonexistent/file.json"), JsonSource::Status::IoError);
}

TEST(JsonSource, MembersAsWrittenKeepDuplicatesLinesAndEscapes) {
    JsonSource source;
    ASSERT_EQ(source.parse("t.json",
                           "{\n"
                           "  \"a\": { \"x\": 1, \"y\": [ {\"z\": 2}, \"s,\\\"}\" ] },\n"
                           "  \"b\\\"q\": 2, \"\\u0041\": 3,\n"
                           "  \"a\": 4\n"
                           "}\n"),
              JsonSource::Status::Ok);
    auto members = source.membersAsWritten(source.root());
    ASSERT_EQ(members.size(), 4u);
    EXPECT_EQ(members[0].name, "a");
    EXPECT_EQ(members[0].line, 2);
    EXPECT_EQ(members[1].name, "b\"q");
    EXPECT_EQ(members[2].name, "A");
    EXPECT_EQ(members[3].name, "a");
    EXPECT_EQ(members[3].line, 4);
    // The nested object is read on its own; the array's object and strings are skipped.
    JsonSource nested;
    ASSERT_EQ(nested.parse("t.json", "{\"a\": { \"x\": 1, \"y\": [ {\"z\": 2} ] }}"),
              JsonSource::Status::Ok);
    auto inner = nested.membersAsWritten(nested.root()["a"]);
    ASSERT_EQ(inner.size(), 2u);
    EXPECT_EQ(inner[1].name, "y");
}

const char* kEveryStep = R"({
  "description": "all",
  "properties": { "p.int": 7, "p.bool": true, "p.str": "x" },
  "steps": [
    { "op": "open", "boost_ms": 300 },
    { "op": "configure", "fps": [15, 60], "operation_mode": 1,
      "streams": [
        { "type": "output", "width": 1920, "height": 1080,
          "usage": ["gpu_texture", "composer_overlay"] },
        { "type": "input", "width": 3840, "usage": ["video_encoder", "0x3"] },
        { "type": 5, "width": 640, "usage": "0x20000" } ] },
    { "op": "requests", "count": 4, "interval_ms": 10, "complete_after": 0, "first": 100,
      "metadata": [ { "android.control.captureIntent": "STILL_CAPTURE" },
                    { "0x1000d": [5], "0x80000": [1, 2] } ] },
    { "op": "boost", "level": "default", "timeout_ms": 100, "release_after_ms": 50 },
    { "op": "boost", "level": 2, "timeout_ms": 0 },
    { "op": "affinity", "thread": "CamPreview" },
    { "op": "eas", "tid": "self", "flags": "0x8001" },
    { "op": "eas", "tid": 42, "flags": 3, "release_after_ms": 5 },
    { "op": "prop", "name": "vendor.x", "value": false },
    { "op": "wait", "ms": 5 },
    { "op": "close" }
  ]
})";

TEST(SessionScript, ReadsEveryStepIntoTheControllerTypes) {
    JsonSource source;
    ASSERT_EQ(source.parse("s.json", kEveryStep), JsonSource::Status::Ok);
    Session session;
    auto errors = parseSession(source, session);
    ASSERT_TRUE(errors.empty()) << errors.front().line << ": " << errors.front().message;
    ASSERT_EQ(session.steps.size(), 11u);
    EXPECT_EQ(session.properties, (std::vector<std::pair<std::string, std::string>>{
                                      {"p.bool", "true"}, {"p.int", "7"}, {"p.str", "x"}}));
    EXPECT_EQ(std::get<OpenStep>(session.steps[0].action).boostMs, 300);

    const auto& configure = std::get<ConfigureStep>(session.steps[1].action);
    ASSERT_EQ(configure.config.streams.size(), 3u);
    EXPECT_EQ(configure.config.operationMode, 1u);
    EXPECT_EQ(configure.config.streams[0].usage, 0x900u);
    EXPECT_EQ(configure.config.streams[0].height, 1080u);
    EXPECT_EQ(configure.config.streams[1].streamType, 1);
    EXPECT_EQ(configure.config.streams[1].usage, 0x10003u);
    EXPECT_EQ(configure.config.streams[2].streamType, 5);
    EXPECT_EQ(configure.config.streams[2].usage, 0x20000u);
    auto fps = configure.config.sessionParams.entryFor(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE);
    ASSERT_EQ(fps.count(), 2u);
    EXPECT_EQ(fps.itemAt(0, NSCam::Type2Type<int>()), 15);
    EXPECT_EQ(fps.itemAt(1, NSCam::Type2Type<int>()), 60);

    const auto& requests = std::get<RequestsStep>(session.steps[2].action);
    EXPECT_EQ(requests.count, 4);
    EXPECT_EQ(requests.completeAfter, 0);
    EXPECT_EQ(requests.first, 100);
    ASSERT_EQ(requests.metadata.size(), 2u);
    EXPECT_EQ(requests.metadata[0].entryFor(0x1000d).itemAt(0, NSCam::Type2Type<int>()), 2);
    EXPECT_EQ(requests.metadata[1].entryFor(0x1000d).itemAt(0, NSCam::Type2Type<int>()), 5);
    EXPECT_EQ(requests.metadata[1].entryFor(0x80000).count(), 2u);
    EXPECT_EQ(requests.metadataLabels[0], "captureIntent=STILL_CAPTURE");

    const auto& defaultBoost = std::get<BoostStep>(session.steps[3].action);
    EXPECT_TRUE(defaultBoost.defaultBoost);
    EXPECT_EQ(defaultBoost.releaseAfterMs, 50);
    const auto& levelBoost = std::get<BoostStep>(session.steps[4].action);
    EXPECT_FALSE(levelBoost.defaultBoost);
    EXPECT_EQ(levelBoost.level, 2);
    EXPECT_FALSE(levelBoost.releaseAfterMs);

    EXPECT_EQ(std::get<AffinityStep>(session.steps[5].action).thread, "CamPreview");
    const auto& self = std::get<EasStep>(session.steps[6].action);
    EXPECT_FALSE(self.tid);
    EXPECT_EQ(self.flags, 0x8001);
    EXPECT_EQ(std::get<EasStep>(session.steps[7].action).tid, 42);
    EXPECT_EQ(std::get<PropStep>(session.steps[8].action).value, "false");
    EXPECT_EQ(std::get<WaitStep>(session.steps[9].action).ms, 5);
    EXPECT_EQ(session.steps[10].op, "close");
    EXPECT_EQ(session.steps[10].line, 22);
}

TEST(SessionScript, ReportsEveryProblemSortedByLine) {
    JsonSource source;
    ASSERT_EQ(source.parse("s.json",
                           "{\n"
                           "  \"steps\": [\n"
                           "    { \"op\": \"open\", \"boost_ms\": \"soon\" },\n"
                           "    { \"op\": \"configure\", \"streams\": [ { \"usage\": [\"x\"] } ],\n"
                           "      \"fps\": [30] },\n"
                           "    { \"op\": \"requests\", \"count\": 1,\n"
                           "      \"metadata\": { \"no.such.tag\": 1 } },\n"
                           "    { \"op\": \"eas\" }\n"
                           "  ],\n"
                           "  \"extra\": 1\n"
                           "}\n"),
              JsonSource::Status::Ok);
    Session session;
    auto errors = parseSession(source, session);
    std::vector<std::pair<int, std::string>> expected = {
        {3, "open: boost_ms must be an integer"},
        {4, "stream: missing \"width\""},
        {4, "usage (gpu_texture, composer_overlay, video_encoder or a number) must be"},
        {5, "configure: fps must be [min, max]"},
        {7, "requests: unknown metadata tag no.such.tag"},
        {8, "eas: missing \"flags\""},
        {10, "session: unknown member \"extra\""},
    };
    ASSERT_EQ(errors.size(), expected.size());
    for (size_t i = 0; i < errors.size(); ++i) {
        EXPECT_EQ(errors[i].line, expected[i].first) << errors[i].message;
        EXPECT_NE(errors[i].message.find(expected[i].second), std::string::npos)
            << errors[i].message;
    }
}

}  // namespace
}  // namespace qvnperfctl
