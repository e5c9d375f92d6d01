// SPDX-License-Identifier: Apache-2.0
#pragma once

// Captures the Android log's lines through the platform's test hook, in logcat's brief
// format ("P/TAG(PID): message", one line each), alike on a device and on a host.

#include <unistd.h>

#include <mutex>
#include <string>
#include <utility>

#include "qvncam/platform/TestHook.h"

class LogCapture {
  public:
    LogCapture() {
        qvncam::platform::setLogSink([this](int prio, const char* tag, const char* message) {
            static const char kLetters[] = "??VDIWEFS";
            const char letter = prio >= 0 && prio < 9 ? kLetters[prio] : '?';
            const std::string head =
                std::string(1, letter) + "/" + tag + "(" + std::to_string(getpid()) + "): ";
            std::lock_guard<std::mutex> lock(mMutex);
            // Each line of a message gets its own head; a trailing newline ends the last one.
            std::string_view rest(message);
            do {
                const size_t nl = rest.find('\n');
                mText += head;
                mText += rest.substr(0, nl);
                mText += '\n';
                rest.remove_prefix(nl == std::string_view::npos ? rest.size() : nl + 1);
            } while (!rest.empty());
        });
    }
    ~LogCapture() { qvncam::platform::setLogSink(nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The lines since the capture started or since the last call.
    std::string take() {
        std::lock_guard<std::mutex> lock(mMutex);
        return std::exchange(mText, std::string());
    }

  private:
    std::mutex mMutex;
    std::string mText;
};
