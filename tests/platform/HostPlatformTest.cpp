// SPDX-License-Identifier: Apache-2.0
// The host back end of the platform seam: properties, logging, trace, C2PS and the
// JSON configuration convertor.
#define LOG_TAG "LogTest"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <stdlib.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "C2PSMachine.h"
#include "CamLog.h"
#include "NSCamProperties.h"
#include "QvncamJSON.h"
#include "common/ReadText.h"
#include "platform/PropertyInt32Cases.h"
#include "qvncam/platform/HostControl.h"
#include "qvncam/platform/Properties.h"
#include "qvncam/platform/Trace.h"

namespace qvncam {
namespace {

using namespace platform;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
// All the convertor writes about a bad file or value: one warning under its own tag.
const char* const kOneJsonWarning = "W/QvncamJSONConvertor\\( *[0-9]+\\): [^\n]*\n";

void setULog(int detail, uint32_t mask, uint32_t mode) {
    host::setProperty("vendor.debug.qvncam.ulog.detail", std::to_string(detail));
    host::setProperty("vendor.debug.qvncam.ulog.mask", std::to_string(mask));
    host::setProperty("vendor.debug.qvncam.ulog.mode", std::to_string(mode));
    host::reloadULogger();
}

// Operators may be released from static destructors, after everything else is gone:
// logging and property reads must still work then (a crash fails the test process).
struct LogsAtExit {
    ~LogsAtExit() { CAM_LOGE("logged at exit %d", property_get_int32("p", 9)); }
} gLogsAtExit;

class HostPlatform : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(std::filesystem::create_directory(dir));
        ::setenv("QVNCAM_ULOG_FILE", path("ulog").c_str(), 1);
    }
    // Nothing is left behind for the next test when all run in one process.
    void TearDown() override {
        for (const char* var : {"QVNCAM_PROPERTIES", "QVNCAM_ULOG_FILE", "QVNCAM_TRACE_FILE"})
            ::unsetenv(var);
        host::clearAllProperties();
        host::reloadULogger();
        std::filesystem::remove_all(dir);
    }
    std::string path(const std::string& name) const { return dir + "/" + name; }
    void useProperties(const std::string& text) {
        std::ofstream(path("props")) << text;
        ::setenv("QVNCAM_PROPERTIES", path("props").c_str(), 1);
    }
    // Runs the convertor on `text` written to a file, or on `file` as it is ("" for the
    // default); what it wrote to stderr is left in `err`.
    int loadJson(const std::string& text, std::string file = "-") {
        if (file == "-")
            std::ofstream(file = path("perf.json")) << text;
        host::setProperty("vendor.debug.qvncam.perfjson", file);  // empty: unset
        CaptureStderr();
        const int result =
            std::unique_ptr<QvncamJSONConvertor>(QvncamJSONConvertor::createInstance())
                ->getJsonData(QvncamJSONConvertor::TYPE_CAMERA_PERF, doc);
        err = GetCapturedStderr();
        return result;
    }

    const std::string pid = std::to_string(::getpid());
    const std::string dir = testing::TempDir() + "qvncam-platform-" + pid;
    QvncamJSONData doc;
    std::string err;
};

TEST_F(HostPlatform, Int32AndBoolReadAsLibcutilsReadsThem) {
    // clang-format off
    const std::pair<const char*, int> bools[] = {  // -1: the default
        {"1", 1}, {"y", 1}, {"yes", 1}, {"on", 1}, {"true", 1}, {"0", 0}, {"n", 0}, {"no", 0},
        {"off", 0}, {"false", 0}, {"", -1}, {"2", -1}, {"TRUE", -1}, {"yess", -1}};
    // clang-format on
    for (const auto& c : kPropertyInt32Cases) {
        host::setProperty("p", c.text);
        EXPECT_EQ(property_get_int32("p", kPropertyDefault), c.value) << c.text;
        EXPECT_EQ(NSCam::Utils::Properties::property_get_int32("p", kPropertyDefault), c.value)
            << c.text;
    }
    for (const auto& [value, expected] : bools) {
        host::setProperty("b", value);
        for (bool def : {false, true})
            EXPECT_EQ(property_get_bool("b", def), expected < 0 ? def : expected == 1) << value;
    }
}

TEST_F(HostPlatform, PropertyFileSyntaxAndInProcessOverrides) {
    useProperties(
        "# c=1\n   # indented=1\n\n  spaced  =  a value  \ndup=first\ndup=last\nno equals\n"
        "=orphan\neq=a=b\ncrlf=1\r\ntab\t=\tx\t\nempty=\nlast=no newline");
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"spaced", "a value"}, {"dup", "last"}, {"eq", "a=b"}, {"crlf", "1"}, {"tab", "x"},
        {"last", "no newline"}, {"empty", "def"}, {"# c", "def"}, {"indented", "def"},
        {"no equals", "def"}, {"", "def"}};
    // clang-format on
    for (const auto& [name, expected] : cases)
        EXPECT_EQ(property_get_string(name, "def"), expected) << name;
    host::setProperty("dup", std::string(200, 'v'));
    EXPECT_EQ(property_get_string("dup", ""), std::string(kPropertyValueMax - 1, 'v'));
    host::clearProperty("dup");
    EXPECT_EQ(property_get_string("dup", ""), "last");
}

TEST_F(HostPlatform, EveryPropertyReadSeesTheCurrentFile) {
    EXPECT_EQ(property_get_int32("a", -1), -1);  // variable unset
    useProperties("a=1\n");
    // Once the clock has moved on the snapshot is trusted; an edit of the same size that
    // puts the old modification time back must still be seen.
    struct stat st {};
    ASSERT_EQ(::stat(path("props").c_str(), &st), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(property_get_int32("a", -1), 1);
    std::ofstream(path("props")) << "a=5\n";
    const timespec times[2] = {st.st_atim, st.st_mtim};
    ASSERT_EQ(::utimensat(AT_FDCWD, path("props").c_str(), times, 0), 0);
    EXPECT_EQ(property_get_int32("a", -1), 5);
    ASSERT_EQ(::unlink(path("props").c_str()), 0);
    EXPECT_EQ(property_get_int32("a", -1), -1);
}

// Each read sees the old file or the new one, whole, while another thread replaces it.
TEST_F(HostPlatform, ConcurrentPropertyReadsWhileTheFileIsReplaced) {
    useProperties("a=1\n");
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        while (!stop.load())
            EXPECT_EQ(property_get_int32("a", -1) % 11, 1);  // 1 or 12
    });
    for (int i = 0; i < 200; ++i) {
        std::ofstream(path("next")) << (i % 2 ? "a=1\n" : "a=12\n");
        EXPECT_EQ(::rename(path("next").c_str(), path("props").c_str()), 0);
        property_get_int32("a", -1);
    }
    stop = true;
    reader.join();
}

// The priority letter of each line, `at` characters into it.
std::string priorities(const std::string& text, size_t at) {
    std::string out;
    for (size_t line = 0; line < text.size(); line = text.find('\n', line) + 1)
        out += text[line + at];
    return out;
}

// Debug lines need detail 5 and the library's bit in the mask; the mode word picks the
// sinks, and each sink that takes a line evaluates its arguments for itself.
TEST_F(HostPlatform, LogGateByLevelAndMaskThenSinksByModeWord) {
    // clang-format off
    const struct { int detail; uint32_t mask, mode; const char *android, *ulog; } cases[] = {
        {-1, 0, 0, "WE", ""},  // the defaults: detail 2, mask 0, mode 1
        {2, 0, 3, "WE", "WE"}, {1, 0, 3, "E", "E"}, {0, ~0u, 2, "", "E"}, {9, ~0u, 2, "", "DWE"},
        {5, 0x1000000, 8, "", "WE"}, {5, 0x1001000, 1, "DWE", ""}, {4, 0x1001000, 3, "WE", "WE"},
        {9, ~0u, 0, "", ""}, {9, ~0u, 0x10, "", ""}};
    // clang-format on
    for (const auto& c : cases) {
        if (c.detail >= 0)
            setULog(c.detail, c.mask, c.mode);
        ::unlink(path("ulog").c_str());
        int calls = 0;
        CaptureStderr();
        CAM_LOGD("%d", ++calls);
        CAM_LOGW("%d", ++calls);
        CAM_LOGE("%d", ++calls);
        EXPECT_EQ(priorities(GetCapturedStderr(), 0), c.android) << c.detail << " " << c.mode;
        EXPECT_EQ(priorities(readText(path("ulog")), 10), c.ulog) << c.detail << " " << c.mode;
        EXPECT_EQ(calls, int((std::string(c.android) + c.ulog).size()));
    }
}

TEST_F(HostPlatform, LogErrorSuffixOnTheAndroidLogOnlyAndTheULogBufferLimit) {
    setULog(5, 0x1001000, 3);
    const std::string big(2000, 'x'), p = "(" + pid + "): ";
    CaptureStderr();
    const int line = __LINE__ + 1;
    CAM_LOGE("boom %d", 7);
    CAM_LOGD("%s", big.c_str());
    android_log_print(4, "T", "a\nb\n");  // one line per line, the newline not doubled
    EXPECT_EQ(GetCapturedStderr(), "E/LogTest" + p + "boom 7 (TestBody){#" + std::to_string(line) +
                                       ":" + __FILE__ + "}\nD/LogTest" + p + big + "\nI/T" + p +
                                       "a\nI/T" + p + "b\n");
    EXPECT_EQ(readText(path("ulog")),
              "0x1001015 E/LogTest: boom 7\n0x1001015 D/LogTest: " + big.substr(0, 1023) + "\n");
}

TEST_F(HostPlatform, TraceTagsReadAtEachQueryAndSlicesGoToTheTraceFile) {
    EXPECT_EQ(atrace_enabled_tags(), 0u);
    // clang-format off
    const std::pair<const char*, uint64_t> cases[] = {
        {"1024", 1024}, {"0xfffffffffffffbff", ~0x400ull}, {"0x400junk", 0},
        {"0x1ffffffffffffffff", 0}};
    // clang-format on
    for (const auto& [value, expected] : cases) {
        host::setProperty("debug.atrace.tags.enableflags", value);
        EXPECT_EQ(atrace_enabled_tags(), expected) << value;
    }
    ::setenv("QVNCAM_TRACE_FILE", path("trace").c_str(), 1);
    atrace_async_begin("runPerfBoost-12", 3);
    atrace_async_end("runPerfBoost-12", -1);
    EXPECT_EQ(readText(path("trace")),
              "S|" + pid + "|runPerfBoost-12|3\nF|" + pid + "|runPerfBoost-12|-1\n");
}

// A log or trace file that is not a regular file (a FIFO nobody reads, a directory) is
// refused at once with one warning, and the process goes on. Each case runs in a child
// that is killed if it hangs.
TEST_F(HostPlatform, LogAndTraceFilesThatAreNotRegularAreRefusedWithoutBlocking) {
    ASSERT_EQ(::mkfifo(path("fifo").c_str(), 0600), 0);
    ASSERT_TRUE(std::filesystem::create_directory(path("subdir")));
    setULog(2, 0, 2);
    const struct {
        const char *variable, *tag;
        void (*emit)();
    } sinks[] = {{"QVNCAM_ULOG_FILE", "ULogger", [] { CAM_LOGE("line"); }},
                 {"QVNCAM_TRACE_FILE", "HostTrace", [] { atrace_async_begin("slice", 1); }}};
    for (const auto& sink : sinks) {
        for (const char* target : {"fifo", "subdir", "regular"}) {
            const std::string err = path("stderr"), where = std::string(sink.tag) + " " + target;
            ::unlink(path("regular").c_str());
            const pid_t child = ::fork();
            ASSERT_GE(child, 0);
            if (child == 0) {
                ::setenv(sink.variable, path(target).c_str(), 1);
                ::dup2(::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644), STDERR_FILENO);
                sink.emit();
                sink.emit();
                ::_exit(0);
            }
            int status = 0;
            pid_t done = 0;
            for (int i = 0; i < 1000 && (done = ::waitpid(child, &status, WNOHANG)) == 0; ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            if (done == 0) {
                ::kill(child, SIGKILL);
                ::waitpid(child, &status, 0);
                ADD_FAILURE() << where << ": hung";
                continue;
            }
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << where;
            const std::string warning = "W/" + std::string(sink.tag) + "(";
            const std::string log = readText(err);
            const bool regular = std::string(target) == "regular";
            EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), regular ? 0 : 1) << log;
            EXPECT_EQ(log.rfind(warning, 0), regular ? std::string::npos : 0) << log;
            const std::string written = readText(path("regular"));
            EXPECT_EQ(std::count(written.begin(), written.end(), '\n'), regular ? 2 : 0) << where;
        }
    }
}

TEST_F(HostPlatform, C2PSMachineKeepsAndLogsTheLastRecord) {
    C2PSInitParams got{}, p{30, 4, 3, true, -2, 7, true};
    setULog(5, 0x1001000, 1);
    CaptureStderr();
    EXPECT_EQ(C2PSMachine::init(p), 0);
    EXPECT_EQ(GetCapturedStderr(),
              "D/C2PSMachine(" + pid +
                  "): init fps=30 scenario=4 featureCustomization=3 "
                  "disableIneffCpufreq=1 lmcoreUmRatio=-2 umMin=7 pfPolicy=1\n");
    EXPECT_TRUE(host::lastC2PSInit(&got) && got.fps == 30 && got.umMin == 7 && got.pfPolicy);
}

// A member value that is not an integer fitting in 32 bits reads as 0, with one warning
// naming the member.
TEST_F(HostPlatform, JsonMembersReadAsIntsWithDefinedResultsEvenInATenMegabyteFile) {
    // clang-format off
    const std::pair<const char*, int> cases[] = {
        {"7", 7}, {"0", 0}, {"-2147483648", INT_MIN}, {"2147483647", INT_MAX}, {"3.0", 3},
        {"-1e3", -1000},
        // 0 with a warning from here on
        {"2147483648", 0}, {"-2147483649", 0}, {"9223372036854775807", 0}, {"1e300", 0},
        {"18446744073709551615", 0}, {"9223372036854775808.0", 0}, {"2.5", 0}, {"\"7\"", 0},
        {"true", 0}, {"null", 0}, {"[1]", 0}, {"{\"a\": 1}", 0}};
    // clang-format on
    std::string text = R"({"n": 5, "pad": ")" + std::string(10 << 20, 'p') + R"(", "enter_cam": {)";
    for (size_t i = 0; i < std::size(cases); ++i)  // named in the order the library yields
        text += (i ? ", \"m" : "\"m") + std::to_string(10 + i) + "\": " + cases[i].first;
    ASSERT_EQ(loadJson(text + "}}"), 1);
    EXPECT_TRUE(doc.isObject() && doc.hasMember("enter_cam") && !doc.hasMember("other"));
    EXPECT_FALSE(doc["missing"].isObject() || doc["n"]["deeper"].isObject());
    const QvncamJSONData* member = doc["enter_cam"].begin();
    ASSERT_EQ(doc["enter_cam"].end() - member, long(std::size(cases)));
    for (const auto& [json, expected] : cases) {
        CaptureStderr();
        EXPECT_EQ(int(*member), expected) << json;
        err = GetCapturedStderr();
        const int warns = expected == 0 && std::string(json) != "0";
        EXPECT_THAT(err, testing::MatchesRegex(warns ? kOneJsonWarning : "")) << json;
        EXPECT_EQ(err.find((member++)->key()) != std::string::npos, warns == 1) << json;
    }
}

TEST_F(HostPlatform, HostileJsonGivesZeroOneWarningAndLeavesTheDocument) {
    ASSERT_EQ(loadJson(R"({"kept": 1})"), 1);
    const std::string deep = std::string(10000, '[') + std::string(10000, ']');
    for (const std::string& text : std::vector<std::string>{"", R"({"a": {"A": 1)", "{} x",
                                                            "{a: 1}", deep, "[" + deep + "]"}) {
        EXPECT_EQ(loadJson(text), 0) << text.substr(0, 20);
        EXPECT_THAT(err, testing::MatchesRegex(kOneJsonWarning)) << text.substr(0, 20);
    }
    for (const std::string& file : {path("missing.json"), dir, std::string()}) {
        EXPECT_EQ(loadJson("", file), 0);
        EXPECT_THAT(err, testing::MatchesRegex(kOneJsonWarning));
        EXPECT_THAT(err, testing::HasSubstr(
                             file.empty() ? "/vendor/etc/camera/qvncam_perf_config.json" : file));
    }
    EXPECT_TRUE(doc.hasMember("kept"));
}

}  // namespace
}  // namespace qvncam
