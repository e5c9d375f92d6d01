// SPDX-License-Identifier: Apache-2.0
#pragma once

// How the JSON convertor reads a configuration file: which files it loads and how it
// parses their text. Anything that must judge a file as the convertor does (the
// qvnperfctl checker) calls these instead of restating them.

#include <json/json.h>
#include <sys/types.h>

#include <string>

namespace qvncam {
namespace platform {

// The property naming the camera performance configuration, and its default.
constexpr const char* kJsonConfigProperty = "vendor.debug.qvncam.perfjson";
constexpr const char* kJsonConfigDefault = "/vendor/etc/camera/qvncam_perf_config.json";
// A configuration is a few kilobytes; anything past this is refused unread.
constexpr off_t kMaxJsonFileSize = off_t{16} * 1024 * 1024;
// Arrays and objects nested deeper than this are refused before parsing, so that the
// JSON library's own limit (which throws, or aborts where exceptions are off) never trips.
constexpr int kMaxJsonDepth = 100;

enum class JsonFileStatus { Ok, Unreadable, TooLarge };

// Reads the regular file at `path` whole into `text`; otherwise says why in `why`.
JsonFileStatus readJsonFile(const char* path, std::string& text, std::string& why);

// Parses `text` as the convertor does (comments allowed, nothing after the value, at most
// kMaxJsonDepth levels); the values carry their offsets in `text`. On failure `error`
// holds the JSON library's message, or the depth limit's.
bool parseJsonText(const std::string& text, Json::Value& root, std::string& error);

}  // namespace platform
}  // namespace qvncam
