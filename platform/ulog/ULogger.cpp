// SPDX-License-Identifier: Apache-2.0
// The unified logger: its three settings come from properties at first use and again
// after the test hook's property overrides change; its lines go to the file named by
// QVNCAM_ULOG_FILE (dropped without it).

#include "ULogger.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "qvncam/platform/AppendFile.h"
#include "qvncam/platform/ParseInt.h"
#include "qvncam/platform/Properties.h"
#include "qvncam/platform/TestHook.h"
#include "ULoggerState.h"

namespace NSCam {
namespace Utils {
namespace ULog {

std::atomic<bool> gSettingsLoaded{false};

namespace {

constexpr int kDefaultDetail = 2;
constexpr uint32_t kDefaultMask = 0;
constexpr uint32_t kDefaultMode = 1;

// Read on every log statement, also during static destruction: plain atomics with
// constant initialisation, holding the defaults until the properties are read.
std::atomic<int> gDetail{kDefaultDetail};
std::atomic<uint32_t> gMask{kDefaultMask};
std::atomic<uint32_t> gMode{kDefaultMode};
std::atomic<bool> gFileWarned{false};

// Bit words: accept the whole unsigned 32-bit range as well as negative int32 values.
uint32_t readWord(const char* name, uint32_t defaultValue) {
    char value[qvncam::platform::kPropertyValueMax];
    if (qvncam::platform::property_get(name, value, "") == 0)
        return defaultValue;
    int64_t parsed = 0;
    if (!qvncam::platform::parseInt<int64_t>(value, &parsed, INT32_MIN, UINT32_MAX))
        return defaultValue;
    return static_cast<uint32_t>(parsed);
}

void load() {
    const int savedErrno = errno;
    gDetail.store(
        qvncam::platform::property_get_int32("vendor.debug.qvncam.ulog.detail", kDefaultDetail),
        std::memory_order_relaxed);
    gMask.store(readWord("vendor.debug.qvncam.ulog.mask", kDefaultMask), std::memory_order_relaxed);
    gMode.store(readWord("vendor.debug.qvncam.ulog.mode", kDefaultMode), std::memory_order_relaxed);
    gSettingsLoaded.store(true, std::memory_order_release);
    errno = savedErrno;
}

// The property overrides of the test hook the settings were read under.
std::atomic<uint32_t> gOverrideGeneration{0};

void ensureLoaded() {
    const uint32_t generation = qvncam::platform::propertyOverrideGeneration();
    if (!gSettingsLoaded.load(std::memory_order_acquire) ||
        gOverrideGeneration.load(std::memory_order_relaxed) != generation) {
        gOverrideGeneration.store(generation, std::memory_order_relaxed);
        load();
    }
}

char levelLetter(int level) {
    if (level <= 1)
        return 'E';
    if (level == 2)
        return 'W';
    if (level < 5)
        return 'I';
    return level == 5 ? 'D' : 'V';
}

}  // namespace

int ULogger::getDetailLogLevel() {
    ensureLoaded();
    return gDetail.load(std::memory_order_relaxed);
}

uint32_t ULogger::getNormalDetailsMask() {
    ensureLoaded();
    return gMask.load(std::memory_order_relaxed);
}

uint32_t ULogger::getModeWord() {
    ensureLoaded();
    return gMode.load(std::memory_order_relaxed);
}

void ULogger::log(uint32_t module, const char* tag, int level, const char* message) {
    const char* path = std::getenv("QVNCAM_ULOG_FILE");
    if (path == nullptr || path[0] == '\0')
        return;
    const int savedErrno = errno;
    if (message == nullptr)
        message = "";
    size_t len = std::strlen(message);
    while (len > 0 && message[len - 1] == '\n')
        --len;
    char line[1200];
    int n = std::snprintf(line, sizeof(line), "0x%x %c/%s: %.*s\n", module, levelLetter(level),
                          tag != nullptr ? tag : "", static_cast<int>(len), message);
    if (n > 0) {
        size_t size =
            static_cast<size_t>(n) < sizeof(line) ? static_cast<size_t>(n) : sizeof(line) - 1;
        // A line cut short still ends with its newline.
        line[size - 1] = '\n';
        int fd = qvncam::platform::openRegularForAppend(path, "ULogger", "QVNCAM_ULOG_FILE",
                                                        gFileWarned);
        if (fd >= 0) {
            ssize_t written;
            do {
                written = ::write(fd, line, size);
            } while (written < 0 && errno == EINTR);
            ::close(fd);
        }
    }
    errno = savedErrno;
}

}  // namespace ULog
}  // namespace Utils
}  // namespace NSCam
