// SPDX-License-Identifier: Apache-2.0
#pragma once

// The camera platform's unified logger: a detail level, a normal-details mask and a
// mode word (read from properties at first use) and a line sink.

#include <cstdint>

namespace NSCam {
namespace Utils {
namespace ULog {

class ULogger {
  public:
    // Mode word bits.
    static constexpr uint32_t MODE_ANDROID_LOG = 0x1;
    static constexpr uint32_t MODE_ULOG_MASK = 0x2 | 0x8;

    static int getDetailLogLevel();
    static uint32_t getNormalDetailsMask();
    static uint32_t getModeWord();
    // Hands one formatted line to the unified logger's own sink.
    static void log(uint32_t module, const char* tag, int level, const char* message);
};

}  // namespace ULog
}  // namespace Utils
}  // namespace NSCam
