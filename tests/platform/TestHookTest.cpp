// SPDX-License-Identifier: Apache-2.0
// The platform's test hook: the log sink sees each Android log line as the log does, and
// the logger follows property overrides without being told to re-read them.
#define LOG_TAG "HookTest"

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "CamLog.h"
#include "common/LogCapture.h"
#include "qvncam/platform/TestHook.h"

namespace {

using qvncam::platform::clearPropertyOverrides;
using qvncam::platform::setPropertyOverride;

TEST(TestHook, SinkGetsEachLineAndLoggerFollowsOverrides) {
    const std::string head = "(" + std::to_string(getpid()) + "): ";
    std::string text;
    {
        LogCapture capture;
        CAM_LOGD("hidden");  // detail level 2 by default
        CAM_LOGW("two\nlines\n");
        setPropertyOverride("vendor.debug.qvncam.ulog.detail", "5");
        setPropertyOverride("vendor.debug.qvncam.ulog.mask", "0x1001000");
        CAM_LOGD("shown %d", 5);
        setPropertyOverride("vendor.debug.qvncam.ulog.mode", "0");  // no Android log at all
        CAM_LOGE("dropped");
        text = capture.take();
        clearPropertyOverrides();
        CAM_LOGD("hidden again");
        EXPECT_EQ(capture.take(), "");
    }
    EXPECT_EQ(text, "W/HookTest" + head + "two\nW/HookTest" + head + "lines\nD/HookTest" + head +
                        "shown 5\n");
}

}  // namespace
