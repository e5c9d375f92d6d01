#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <thread>

#include "NSCamProperties.h"
#include "PlatformTestUtil.h"
#include "qvncam/platform/Properties.h"

namespace qvncam {
namespace {

using namespace platform;
class PropertiesTest : public test::PlatformTest {};

TEST_F(PropertiesTest, Int32TakesOnlyAWholeValueThatFits) {
    const std::pair<const char*, int32_t> cases[] = {{"42", 42},
                                                     {"-42", -42},
                                                     {"+7", 7},
                                                     {"0x1F", 31},
                                                     {"0X1f", 31},
                                                     {"-0x10", -16},
                                                     {"010", 8},
                                                     {"0", 0},
                                                     {"2147483647", INT32_MAX},
                                                     {"-2147483648", INT32_MIN},
                                                     {"-0x80000000", INT32_MIN},
                                                     {"2147483648", -77},
                                                     {"-2147483649", -77},
                                                     {"0xffffffff", -77},
                                                     {"99999999999999999999", -77},
                                                     {"08", -77},
                                                     {"0x", -77},
                                                     {"-", -77},
                                                     {"", -77},
                                                     {"12abc", -77},
                                                     {"1 2", -77},
                                                     {"1.5", -77},
                                                     {"0x1g", -77}};
    std::string file;
    for (const auto& [value, expected] : cases)
        file += std::string("p") + value + "=" + value + "\n";
    useProperties(file);
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(property_get_int32((std::string("p") + value).c_str(), -77), expected) << value;
    }
    EXPECT_EQ(NSCam::Utils::Properties::property_get_int32("p42", 0), 42);
}

TEST_F(PropertiesTest, BoolKnowsTheLibcutilsWordsOnly) {
    const std::pair<const char*, int> cases[] = {
        // -1: the default
        {"1", 1},  {"y", 1},   {"yes", 1},   {"on", 1}, {"true", 1}, {"0", 0},     {"n", 0},
        {"no", 0}, {"off", 0}, {"false", 0}, {"", -1},  {"2", -1},   {"TRUE", -1}, {"yess", -1}};
    for (const auto& [value, expected] : cases) {
        host::setProperty("b", value);
        for (bool def : {false, true}) {
            EXPECT_EQ(property_get_bool("b", def), expected < 0 ? def : expected == 1) << value;
        }
    }
}

TEST_F(PropertiesTest, FileSyntax) {
    useProperties(
        "# c=1\n   # indented=1\n\n  spaced  =  a value  \ndup=first\ndup=last\nno equals\n"
        "=orphan\neq=a=b\ncrlf=1\r\ntab\t=\tx\t\nempty=\nlast=no newline");
    const std::pair<const char*, const char*> cases[] = {
        {"spaced", "a value"}, {"dup", "last"},        {"eq", "a=b"},    {"crlf", "1"},
        {"tab", "x"},          {"last", "no newline"}, {"empty", "def"}, {"# c", "def"},
        {"indented", "def"},   {"no equals", "def"},   {"", "def"}};
    for (const auto& [name, expected] : cases) {
        EXPECT_EQ(property_get_string(name, "def"), expected) << name;
    }
    char value[kPropertyValueMax];
    host::setProperty("long", std::string(200, 'v'));
    EXPECT_EQ(property_get("long", value, nullptr), 91);
    EXPECT_EQ(std::string(value), std::string(91, 'v'));
    EXPECT_EQ(property_get("unset", value, nullptr), 0);
}

TEST_F(PropertiesTest, EveryReadSeesTheCurrentFile) {
    EXPECT_EQ(property_get_int32("a", -1), -1);  // variable unset
    std::string file = useProperties("a=1\n");
    EXPECT_EQ(property_get_int32("a", -1), 1);
    test::writeFile(file, "a=2\n");  // same size and inode, likely the same clock tick
    EXPECT_EQ(property_get_int32("a", -1), 2);
    // Once the clock has moved on the snapshot is trusted; an edit that puts the old
    // modification time back must still be seen.
    struct stat st {};
    ASSERT_EQ(::stat(file.c_str(), &st), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(property_get_int32("a", -1), 2);
    test::writeFile(file, "a=5\n");
    const timespec times[2] = {st.st_atim, st.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
    EXPECT_EQ(property_get_int32("a", -1), 5);
    ASSERT_EQ(::unlink(file.c_str()), 0);
    EXPECT_EQ(property_get_int32("a", -1), -1);
    ::setenv("QVNCAM_PROPERTIES", dir.c_str(), 1);  // a directory cannot be read as one
    EXPECT_EQ(property_get_int32("a", -1), -1);
}

TEST_F(PropertiesTest, OverridesWinUntilCleared) {
    useProperties("a=file\nb=file\n");
    for (const char* name : {"a", "b", "c"})
        host::setProperty(name, "mine");
    EXPECT_EQ(property_get_string("a", ""), "mine");
    host::clearProperty("a");
    EXPECT_EQ(property_get_string("a", ""), "file");
    EXPECT_EQ(property_get_string("b", ""), "mine");
    host::clearAllProperties();
    EXPECT_EQ(property_get_string("b", ""), "file");
    EXPECT_EQ(property_get_string("c", "unset"), "unset");
}

TEST_F(PropertiesTest, ConcurrentReadsWhileTheFileIsReplaced) {
    const std::string file = useProperties("a=1\n"), next = path("next");
    std::atomic<bool> stop{false};
    std::atomic<int> bad{0};
    auto reader = [&] {
        while (!stop.load())
            bad += property_get_int32("a", -1) % 11 != 1;  // 1 or 12
    };
    std::thread t1(reader), t2(reader);
    for (int i = 0; i < 200; ++i) {
        test::writeFile(next, i % 2 ? "a=1\n" : "a=12\n");
        EXPECT_EQ(::rename(next.c_str(), file.c_str()), 0);
    }
    stop = true;
    t1.join();
    t2.join();
    EXPECT_EQ(bad.load(), 0);
}

}  // namespace
}  // namespace qvncam
