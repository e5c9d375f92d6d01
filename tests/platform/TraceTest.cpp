#include <gtest/gtest.h>

#include "PlatformTestUtil.h"
#include "qvncam/platform/Trace.h"

namespace qvncam {
namespace {

class TraceTest : public test::PlatformTest {};

TEST_F(TraceTest, EnabledTagsReadAtEachQuery) {
    EXPECT_EQ(platform::atrace_enabled_tags(), 0u);
    const std::pair<const char*, uint64_t> cases[] = {{"0x400", 0x400},
                                                      {"1024", 1024},
                                                      {"0xfffffffffffffbff", ~0x400ull},
                                                      {"0x400junk", 0},
                                                      {"0x1ffffffffffffffff", 0}};
    for (const auto& [value, expected] : cases) {
        host::setProperty("debug.atrace.tags.enableflags", value);
        EXPECT_EQ(platform::atrace_enabled_tags(), expected) << value;
        EXPECT_EQ(platform::atrace_camera_enabled(), (expected & 0x400) != 0) << value;
    }
}

TEST_F(TraceTest, AsyncSlicesGoToTheTraceFile) {
    ::setenv("QVNCAM_TRACE_FILE", path("trace").c_str(), 1);
    platform::atrace_async_begin("runPerfBoost-12", 3);
    platform::atrace_async_end("runPerfBoost-12", 3);
    platform::atrace_async_begin("x", -1);
    const std::string pid = test::pidText();
    EXPECT_EQ(test::readFile(path("trace")), "S|" + pid + "|runPerfBoost-12|3\nF|" + pid +
                                                 "|runPerfBoost-12|3\nS|" + pid + "|x|-1\n");
}

}  // namespace
}  // namespace qvncam
