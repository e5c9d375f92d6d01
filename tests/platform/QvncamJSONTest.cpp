#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>

#include "PlatformTestUtil.h"
#include "QvncamJSON.h"

namespace qvncam {
namespace {

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

int count(const std::string& text, const std::string& what) {
    int n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

class QvncamJSONTest : public test::PlatformTest {
  protected:
    // Runs the convertor on `file` (or on `text` written to a file); returns its result
    // and the number of warnings under its tag.
    int load(QvncamJSONData& doc, const std::string& text, int* warnings = nullptr,
             std::string file = "", int type = QvncamJSONConvertor::TYPE_CAMERA_PERF) {
        if (file.empty())
            test::writeFile(file = path("perf.json"), text);
        host::setProperty("vendor.debug.qvncam.perfjson", file);
        std::unique_ptr<QvncamJSONConvertor> convertor(QvncamJSONConvertor::createInstance());
        CaptureStderr();
        int result = convertor->getJsonData(type, doc);
        lastErr = GetCapturedStderr();
        if (warnings != nullptr)
            *warnings = count(lastErr, "W/QvncamJSONConvertor(");
        return result;
    }
    std::string lastErr;
};

TEST_F(QvncamJSONTest, ReadsSectionsAsMemberRanges) {
    QvncamJSONData doc;
    ASSERT_EQ(load(doc, R"({"enter_cam": {"B": 2, "A": -1}, "config_cam": {}, "n": 5})"), 1);
    ASSERT_TRUE(doc.isObject());
    EXPECT_TRUE(doc.hasMember("enter_cam"));
    EXPECT_FALSE(doc.hasMember("other"));
    const QvncamJSONData& enter = doc["enter_cam"];
    ASSERT_TRUE(enter.isObject());
    ASSERT_EQ(enter.end() - enter.begin(), 2);
    EXPECT_EQ(enter.begin()[0].key(), "A");  // the JSON library yields members by name
    EXPECT_EQ(int(enter.begin()[0]), -1);
    EXPECT_EQ(enter.begin()[1].key(), "B");
    EXPECT_EQ(int(enter.begin()[1]), 2);
    EXPECT_EQ(doc["config_cam"].begin(), doc["config_cam"].end());
    EXPECT_FALSE(doc["missing"].isObject());
    EXPECT_FALSE(doc["n"]["deeper"].isObject());
}

TEST_F(QvncamJSONTest, IntConversionIsDefinedForEveryValue) {
    const std::pair<const char*, int> cases[] = {// 0 (with a warning) unless noted
                                                 {"7", 7},
                                                 {"-2147483648", INT_MIN},
                                                 {"2147483647", INT_MAX},
                                                 {"3.0", 3},
                                                 {"-1e3", -1000},
                                                 {"2147483648", 0},
                                                 {"-2147483649", 0},
                                                 {"9223372036854775807", 0},
                                                 {"18446744073709551615", 0},
                                                 {"9223372036854775808.0", 0},
                                                 {"1e300", 0},
                                                 {"2.5", 0},
                                                 {"\"7\"", 0},
                                                 {"true", 0},
                                                 {"null", 0},
                                                 {"[1]", 0},
                                                 {"{\"a\": 1}", 0},
                                                 {"0", 0}};
    for (const auto& [json, expected] : cases) {
        QvncamJSONData doc;
        ASSERT_EQ(load(doc, std::string(R"({"s": {"PERF_X": )") + json + "}}"), 1) << json;
        CaptureStderr();
        EXPECT_EQ(int(*doc["s"].begin()), expected) << json;
        const bool warns = expected == 0 && std::string(json) != "0";
        const std::string err = GetCapturedStderr();
        EXPECT_EQ(count(err, "W/QvncamJSONConvertor("), warns) << json;
        EXPECT_EQ(count(err, "PERF_X"), warns) << json;
    }
}

TEST_F(QvncamJSONTest, HostileInputGivesZeroOneWarningAndLeavesTheDocument) {
    const std::string deep = std::string(10000, '[') + std::string(10000, ']');
    const std::string texts[] = {"",   R"({"a": {"A": 1)",     "{} x", "{a: 1}",
                                 deep, "{\"a\": " + deep + "}"};
    QvncamJSONData doc;
    ASSERT_EQ(load(doc, R"({"kept": 1})"), 1);
    int warnings = 0;
    for (const std::string& text : texts) {
        EXPECT_EQ(load(doc, text, &warnings), 0) << text.substr(0, 20);
        EXPECT_EQ(warnings, 1) << lastErr.substr(0, 200);
    }
    for (const std::string& file : {path("missing.json"), dir}) {
        EXPECT_EQ(load(doc, "", &warnings, file), 0);
        EXPECT_EQ(warnings, 1);
        EXPECT_EQ(count(lastErr, file), 1);
    }
    EXPECT_EQ(load(doc, "{}", &warnings, "", 2), 0);
    EXPECT_EQ(warnings, 1);
    EXPECT_TRUE(doc.hasMember("kept"));

    host::clearAllProperties();
    std::unique_ptr<QvncamJSONConvertor> convertor(QvncamJSONConvertor::createInstance());
    CaptureStderr();
    EXPECT_EQ(convertor->getJsonData(QvncamJSONConvertor::TYPE_CAMERA_PERF, doc), 0);
    EXPECT_EQ(count(GetCapturedStderr(), "/vendor/etc/camera/qvncam_perf_config.json"), 1);
}

TEST_F(QvncamJSONTest, TenMegabyteFileLoads) {
    std::string text = R"({"pad": ")" + std::string(5 << 20, 'p') + R"(", "many": {)";
    for (int i = 0; text.size() < (10u << 20); ++i) {
        text += (i ? ",\"k" : "\"k") + std::to_string(i) + "\": " + std::to_string(i);
    }
    QvncamJSONData doc;
    ASSERT_EQ(load(doc, text + R"(}, "enter_cam": {"A": 1}})"), 1);
    EXPECT_EQ(int(*doc["enter_cam"].begin()), 1);
    EXPECT_GT(doc["many"].end() - doc["many"].begin(), 100000);
}

}  // namespace
}  // namespace qvncam
