// SPDX-License-Identifier: Apache-2.0
#pragma once

// The test hook of the platform seam, the same on every back end: property overrides
// that every property read sees before the platform's own properties, and a sink that
// receives each line sent to the Android log. In-process only; nothing outside the
// library's own tests sets them. The libraries a device ships carry none of it
// (android/NoTestHook.cpp): only the back ends' side, answering that nothing is set.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace qvncam {
namespace platform {

void setPropertyOverride(std::string_view name, std::string_view value);
void clearPropertyOverride(std::string_view name);
void clearPropertyOverrides();

// Receives the priority, tag and formatted message of every Android log line, besides
// the log itself. An empty function removes it. Called under a lock: a sink must not log.
using LogSink = std::function<void(int prio, const char* tag, const char* message)>;
void setLogSink(LogSink sink);

// For the back ends.
// The override of `name` into `value`; false when there is none.
bool propertyOverride(const char* name, std::string& value);
// Changes whenever an override does, so that a reader of properties that caches what it
// read can tell it is stale.
uint32_t propertyOverrideGeneration();
bool logSinkInstalled();
void sendToLogSink(int prio, const char* tag, const char* message);

}  // namespace platform
}  // namespace qvncam
