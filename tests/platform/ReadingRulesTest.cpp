// SPDX-License-Identifier: Apache-2.0
// The reading rules shared by the controller and its tool: JSON nesting, integers and
// integer properties.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "QvncamJSON.h"
#include "qvncam/platform/JsonText.h"
#include "platform/PropertyInt32Cases.h"
#include "qvncam/platform/ParseInt.h"
#include "qvncam/platform/PropertyValue.h"

namespace {

std::string nested(int depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

// Whatever comments, strings and line ends surround the brackets, the nesting limit is
// the parser's depth: 100 levels load, 101 do not.
TEST(JsonDepth, CountedByTheParsersOwnRules) {
    // clang-format off
    const char* const wrappers[] = {
        "%",                      // bare
        "// x\r%",                // a comment ended by a carriage return
        "// x\r\n%",
        "/* ] ] */ %",            // brackets inside a block comment
        "/*/ ]]] */%",            // "/*/" does not close the comment
        "[\"]]\\\"]]\", %]",      // brackets and an escaped quote inside a string
        "[\"\\\\\", %]",          // a string ending in an escaped backslash
    };
    // clang-format on
    for (const char* wrapper : wrappers) {
        const std::string w = wrapper;
        const int extra = w[0] == '[' ? 1 : 0;
        for (const int depth : {100, 101, 150}) {
            std::string text = w;
            text.replace(text.find('%'), 1, nested(depth - extra));
            QvncamJSONData doc;
            EXPECT_EQ(doc.parse(text), depth <= qvncam::platform::kMaxJsonDepth)
                << depth << " levels in " << wrapper;
        }
    }
}

TEST(ParseInt, AndroidPropertyRulesWithinTheCallersRange) {
    using qvncam::platform::parseInt;
    uint32_t id = 7;
    int64_t word = 7;
    uint64_t tags = 7;
    // clang-format off
    const struct { const char* text; bool asId; uint32_t id; bool asWord; int64_t word; } cases[] = {
        {"0x400000", true, 0x400000, true, 0x400000}, {"4194304", true, 4194304, true, 4194304},
        {"017", true, 15, true, 15}, {"0xffffffff", true, UINT32_MAX, true, UINT32_MAX},
        {"-1", false, 0, true, -1}, {"-0x80000000", false, 0, true, INT32_MIN},
        {"-0x80000001", false, 0, false, 0}, {"0x100000000", false, 0, false, 0},
        {"-0", true, 0, true, 0}, {" 1", false, 0, false, 0}, {"1 ", false, 0, false, 0},
        {"09", false, 0, false, 0}, {"0x", false, 0, false, 0}, {"+", false, 0, false, 0},
        {"18446744073709551616", false, 0, false, 0}};
    // clang-format on
    for (const auto& c : cases) {
        id = 7;
        word = 7;
        EXPECT_EQ(parseInt(c.text, &id), c.asId) << c.text;
        EXPECT_EQ(id, c.asId ? c.id : 7u) << c.text;
        EXPECT_EQ(parseInt<int64_t>(c.text, &word, INT32_MIN, UINT32_MAX), c.asWord) << c.text;
        EXPECT_EQ(word, c.asWord ? c.word : 7) << c.text;
    }
    EXPECT_TRUE(parseInt("0xffffffffffffffff", &tags) && tags == UINT64_MAX);
    EXPECT_TRUE(parseInt("-9223372036854775808", &word) && word == INT64_MIN);
    EXPECT_FALSE(parseInt("9223372036854775808", &word));
}

// The tool warns of a value read by its prefix only: `whole` must say exactly that.
TEST(PropertyInt32, ReadsAsLibcutilsAndSaysWhetherTheWholeValueCounted) {
    for (const auto& c : kPropertyInt32Cases) {
        const auto read = qvncam::platform::readPropertyInt32(c.text, kPropertyDefault);
        EXPECT_EQ(read.value, c.value) << c.text;
        EXPECT_EQ(read.whole, c.whole) << c.text;
        EXPECT_EQ(read.numeric, c.value != kPropertyDefault) << c.text;
    }
    // property_get keeps 91 characters: a longer number is cut there first.
    const auto cut = qvncam::platform::readPropertyInt32(std::string(100, '0') + "5", 3);
    EXPECT_TRUE(cut.numeric && cut.value == 0 && !cut.whole);
    using namespace std::string_literals;
    const auto withNul = qvncam::platform::readPropertyInt32("7\09"s, 3);
    EXPECT_TRUE(withNul.numeric && withNul.value == 7 && !withNul.whole);
}

}  // namespace
