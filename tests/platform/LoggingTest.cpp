#define LOG_TAG "LogTest"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "CamLog.h"
#include "PlatformTestUtil.h"
#include "qvncam/platform/Properties.h"

namespace qvncam {
namespace {

using NSCam::Utils::ULog::ULogger;
using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// Operators may be released from static destructors, after everything else is gone:
// logging and property reads must still work then (a crash fails the test process).
struct LogsAtExit {
    ~LogsAtExit() {
        host::setProperty("vendor.debug.qvncam.ulog.mode", "0");
        host::reloadULogger();
        CAM_LOGE("at exit %d", platform::property_get_int32("vendor.debug.qvncam.ulog.mode", 9));
    }
} gLogsAtExit;

class LoggingTest : public test::PlatformTest {
  protected:
    void SetUp() override {
        PlatformTest::SetUp();
        ulogFile = path("ulog");
        ::setenv("QVNCAM_ULOG_FILE", ulogFile.c_str(), 1);
    }
    std::string android(char prio, const std::string& text) {
        return std::string(1, prio) + "/LogTest(" + test::pidText() + "): " + text + "\n";
    }
    std::string ulog(char prio, const std::string& text) {
        return std::string("0x1001015 ") + prio + "/LogTest: " + text + "\n";
    }
    std::string ulogFile;
};

TEST_F(LoggingTest, SettingsComeFromPropertiesAtFirstUseAndReload) {
    auto settings = [] {
        return std::make_tuple(ULogger::getDetailLogLevel(), ULogger::getNormalDetailsMask(),
                               ULogger::getModeWord());
    };
    EXPECT_EQ(settings(), std::make_tuple(2, 0u, 1u));
    useProperties(
        "vendor.debug.qvncam.ulog.detail=7\nvendor.debug.qvncam.ulog.mask=0xffffffff\n"
        "vendor.debug.qvncam.ulog.mode=-1\n");
    EXPECT_EQ(settings(), std::make_tuple(2, 0u, 1u));
    host::reloadULogger();
    EXPECT_EQ(settings(), std::make_tuple(7, 0xffffffffu, 0xffffffffu));
}

TEST_F(LoggingTest, GateByLevelAndMask) {
    const struct {
        int detail;
        uint32_t mask;
        std::string passed;
    } cases[] = {{2, 0, "WE"},    {1, 0, "E"},          {0, ~0u, "E"},
                 {5, 0, "WE"},    {5, 0x1000000, "WE"}, {5, 0x1001000, "DWE"},
                 {9, ~0u, "DWE"}, {4, 0x1001000, "WE"}};
    for (const auto& c : cases) {
        setULog(c.detail, c.mask, 2);
        ::unlink(ulogFile.c_str());
        CAM_LOGD("D");
        CAM_LOGW("W");
        CAM_LOGE("E");
        std::string expected;
        for (char level : c.passed)
            expected += ulog(level, std::string(1, level));
        EXPECT_EQ(test::readFile(ulogFile), expected)
            << "detail " << c.detail << " mask " << c.mask;
    }
}

TEST_F(LoggingTest, ModeWordPicksSinksAndEachEvaluatesItsArguments) {
    const struct {
        uint32_t mode;
        bool android, ulog;
    } cases[] = {{0, false, false}, {1, true, false}, {2, false, true},
                 {8, false, true},  {3, true, true},  {0x10, false, false}};
    for (const auto& c : cases) {
        setULog(2, 0, c.mode);
        ::unlink(ulogFile.c_str());
        int calls = 0;
        CaptureStderr();
        CAM_LOGW("w%d", ++calls);  // the Android log is served first
        EXPECT_EQ(GetCapturedStderr(), c.android ? android('W', "w1") : "") << c.mode;
        EXPECT_EQ(test::readFile(ulogFile), c.ulog ? ulog('W', "w" + std::to_string(calls)) : "")
            << c.mode;
        EXPECT_EQ(calls, int(c.android) + int(c.ulog));
    }
}

TEST_F(LoggingTest, ErrorSuffixOnAndroidLogOnlyAndULogBufferLimit) {
    setULog(5, 0x1001000, 3);
    CaptureStderr();
    const int line = __LINE__ + 1;
    CAM_LOGE("boom %d", 7);
    EXPECT_EQ(GetCapturedStderr(),
              android('E', "boom 7 (TestBody){#" + std::to_string(line) + ":" + __FILE__ + "}"));
    EXPECT_EQ(test::readFile(ulogFile), ulog('E', "boom 7"));

    ::unlink(ulogFile.c_str());
    const std::string big(2000, 'x');
    CaptureStderr();
    CAM_LOGD("%s", big.c_str());
    EXPECT_EQ(GetCapturedStderr(), android('D', big));
    EXPECT_EQ(test::readFile(ulogFile), ulog('D', big.substr(0, 1023)));

    ::unsetenv("QVNCAM_ULOG_FILE");
    ::unlink(ulogFile.c_str());
    CAM_LOGE("dropped");
    EXPECT_NE(::access(ulogFile.c_str(), F_OK), 0);
}

TEST_F(LoggingTest, AndroidLogOneLinePerLineNoDoubledNewline) {
    CaptureStderr();
    platform::android_log_print(6, "T", "one\n");
    platform::android_log_print(4, "T", "a\nb");
    const std::string p = "(" + test::pidText() + "): ";
    EXPECT_EQ(GetCapturedStderr(), "E/T" + p + "one\nI/T" + p + "a\nI/T" + p + "b\n");
}

}  // namespace
}  // namespace qvncam
