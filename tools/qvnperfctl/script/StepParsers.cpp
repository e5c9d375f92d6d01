// SPDX-License-Identifier: Apache-2.0
// The parsers of each step kind: a step's members into its action, checked against what
// the steps before it did to the camera.

#include "script/ScriptParser.h"
#include "script/ShownText.h"

namespace qvnperfctl {
namespace {

constexpr int64_t kMaxWaitMs = 60000;
constexpr int64_t kMaxTimeoutMs = 600000;
constexpr int64_t kMaxRequests = 1000000;  // a step of an hour's frames at 240 fps

constexpr uint32_t kTagCaptureIntent = 0x1000d;  // android.control.captureIntent

const std::pair<const char*, uint32_t> kTagNames[] = {
    {"android.control.aeTargetFpsRange", qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE},
    {"android.control.captureIntent", kTagCaptureIntent},
};

// Metadata tag names a script may use instead of numbers.
std::optional<uint32_t> metadataTagByName(const std::string& name) {
    for (const auto& [tagName, tag] : kTagNames) {
        if (name == tagName)
            return tag;
    }
    return std::nullopt;
}

// Android's android.control.captureIntent values.
const std::pair<const char*, int> kCaptureIntents[] = {
    {"CUSTOM", 0},         {"PREVIEW", 1},          {"STILL_CAPTURE", 2}, {"VIDEO_RECORD", 3},
    {"VIDEO_SNAPSHOT", 4}, {"ZERO_SHUTTER_LAG", 5}, {"MANUAL", 6},
};

const std::pair<const char*, uint64_t> kUsageWords[] = {
    {"gpu_texture", qcam::BUFFER_USAGE_GPU_TEXTURE},
    {"composer_overlay", qcam::BUFFER_USAGE_COMPOSER_OVERLAY},
    {"video_encoder", qcam::BUFFER_USAGE_VIDEO_ENCODER},
};

uint64_t readUsage(Fields& f, const Json::Value& usage) {
    if (!usage.isArray()) {
        auto bits = f.integerValue(usage, "usage", 0, INT64_MAX);
        return bits ? static_cast<uint64_t>(*bits) : 0;
    }
    uint64_t bits = 0;
    for (const auto& word : usage) {
        bool known = false;
        for (const auto& [name, bit] : kUsageWords) {
            if (word.isString() && word.asString() == name) {
                bits |= bit;
                known = true;
            }
        }
        if (!known) {
            if (auto n = f.integerValue(word,
                                        "usage (gpu_texture, composer_overlay, "
                                        "video_encoder or a number)",
                                        0, INT64_MAX)) {
                bits |= static_cast<uint64_t>(*n);
            }
        }
    }
    return bits;
}

std::optional<int> itemValue(Fields& f, uint32_t tag, const Json::Value& item) {
    if (tag == kTagCaptureIntent && item.isString()) {
        for (const auto& [word, value] : kCaptureIntents) {
            if (item.asString() == word)
                return value;
        }
    }
    auto n = f.integerValue(item, "metadata value", INT32_MIN, INT32_MAX);
    return n ? std::optional<int>(static_cast<int>(*n)) : std::nullopt;
}

std::string compact(const Json::Value& v) {
    if (v.isString())
        return v.asString();
    Json::StreamWriterBuilder writer;
    writer["indentation"] = "";
    return Json::writeString(writer, v);
}

std::string shortName(const std::string& tagName) {
    auto dot = tagName.rfind('.');
    return dot == std::string::npos ? tagName : tagName.substr(dot + 1);
}

void readMetadata(Fields& f, const Json::Value& v, RequestsStep& s) {
    NSCam::IMetadata meta;
    std::string label;
    if (!v.isObject()) {
        f.error(v, "metadata must be an object of tag: value(s), or an array of them");
        return;
    }
    for (const auto& name : v.getMemberNames()) {
        auto tag = metadataTagByName(name);
        if (!tag) {
            auto number = parseNumber(name);
            if (number && *number >= 0 && *number <= UINT32_MAX)
                tag = *number;
        }
        if (!tag) {
            f.error(v[name], "unknown metadata tag " + name +
                                 " (use a number such as \"0x1000d\" or "
                                 "android.control.captureIntent)");
            continue;
        }
        NSCam::IMetadata::IEntry entry(*tag);
        auto add = [&](const Json::Value& item) {
            if (auto n = itemValue(f, *tag, item))
                entry.push_back(*n, NSCam::Type2Type<int>());
        };
        const auto& items = v[name];
        if (items.isArray()) {
            for (const auto& item : items)
                add(item);
        } else {
            add(items);
        }
        meta.update(*tag, entry);
        label += (label.empty() ? "" : " ") + shortName(name) + "=" + compact(items);
    }
    s.metadata.push_back(std::move(meta));
    s.metadataLabels.push_back(std::move(label));
}

}  // namespace

StepAction ScriptParser::readOpen(Fields& f) {
    OpenStep s;
    if (mOpen)
        f.errorHere("the camera is already open (close it first)");
    mOpen = true;
    mConfigured = false;
    f.integerInto(s.boostMs, "boost_ms", 0, kMaxTimeoutMs);
    return s;
}

StepAction ScriptParser::readClose(Fields& f) {
    if (!mOpen)
        f.errorHere("the camera is not open");
    mOpen = false;
    mConfigured = false;
    return CloseStep{};
}

StepAction ScriptParser::readConfigure(Fields& f) {
    ConfigureStep s;
    if (!mOpen)
        f.errorHere("configure needs an open camera (add an open step before it)");
    mConfigured = true;
    f.integerInto(s.config.operationMode, "operation_mode", 0, UINT32_MAX);
    const auto* streams = f.take("streams", true);
    if (streams && !streams->isArray()) {
        f.error(*streams, "\"streams\" must be an array");
    } else if (streams) {
        for (const auto& stream : *streams)
            readStream(stream, s.config);
    }
    if (const auto* fps = f.take("fps")) {
        if (!fps->isArray() || fps->size() != 2) {
            f.error(*fps, "fps must be [min, max]");
        } else {
            auto lo = f.integerValue((*fps)[0], "fps", 0, 1000);
            auto hi = f.integerValue((*fps)[1], "fps", 0, 1000);
            if (lo && hi) {
                s.fps = std::make_pair(static_cast<int>(*lo), static_cast<int>(*hi));
                NSCam::IMetadata::IEntry entry(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE);
                entry.push_back(s.fps->first, NSCam::Type2Type<int>());
                entry.push_back(s.fps->second, NSCam::Type2Type<int>());
                s.config.sessionParams.update(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE, entry);
            }
        }
    }
    return s;
}

void ScriptParser::readStream(const Json::Value& v, qcam::StreamConfiguration& config) {
    if (!v.isObject()) {
        mErrors.push_back({mSource.lineOf(v), "configure: each stream is an object"});
        return;
    }
    Fields f(mSource, v, "stream", mErrors);
    qcam::Stream stream;
    stream.id = static_cast<int32_t>(config.streams.size());
    if (const auto* type = f.take("type")) {
        if (type->isString() && type->asString() == "output") {
            stream.streamType = static_cast<int32_t>(qcam::StreamType::OUTPUT);
        } else if (type->isString() && type->asString() == "input") {
            stream.streamType = static_cast<int32_t>(qcam::StreamType::INPUT);
        } else if (auto t = f.integerValue(*type, "type (\"output\", \"input\" or a number)",
                                           INT32_MIN, INT32_MAX)) {
            stream.streamType = static_cast<int32_t>(*t);
        }
    }
    f.integerInto(stream.width, "width", 1, UINT32_MAX, true);
    f.integerInto(stream.height, "height", 0, UINT32_MAX);
    f.integerInto(stream.format, "format", INT32_MIN, INT32_MAX);
    if (const auto* usage = f.take("usage"))
        stream.usage = readUsage(f, *usage);
    f.finish();
    config.streams.push_back(stream);
}

StepAction ScriptParser::readRequests(Fields& f) {
    RequestsStep s;
    if (!mConfigured) {
        f.errorHere("requests need configured streams (add a configure step before them)");
    }
    f.integerInto(s.count, "count", 1, kMaxRequests, true);
    f.integerInto(s.intervalMs, "interval_ms", 1, kMaxWaitMs);
    f.integerInto(s.completeAfter, "complete_after", 0, kMaxRequests);
    const auto first = f.integer("first", 0, INT32_MAX);
    // Numbers run on from the step before; the last one must still be an int.
    const int64_t from = first.value_or(mNextRequest);
    if (from + s.count - 1 > INT32_MAX) {
        f.errorHere("request numbers would pass " + std::to_string(INT32_MAX) + " (from " +
                    std::to_string(from) + ", " + std::to_string(s.count) + " requests)");
    } else {
        s.first = static_cast<int>(from);
    }
    mNextRequest = from + s.count;
    if (const auto* meta = f.take("metadata")) {
        if (meta->isArray() && !meta->empty()) {
            for (const auto& m : *meta)
                readMetadata(f, m, s);
        } else {
            readMetadata(f, *meta, s);
        }
    }
    return s;
}

StepAction ScriptParser::readBoost(Fields& f) {
    BoostStep s;
    if (const auto* level = f.take("level", true)) {
        if (level->isString() && level->asString() == "default") {
            s.defaultBoost = true;
        } else if (auto n =
                       f.integerValue(*level, "level (0-3 or \"default\")", INT32_MIN, INT32_MAX)) {
            s.level = static_cast<int>(*n);
        }
    }
    f.integerInto(s.timeoutMs, "timeout_ms", 0, kMaxTimeoutMs, true);
    f.integerInto(s.releaseAfterMs, "release_after_ms", 0, kMaxTimeoutMs);
    return s;
}

StepAction ScriptParser::readAffinity(Fields& f) {
    AffinityStep s;
    if (auto name = f.string("thread", true)) {
        // The kernel keeps 15 bytes of a thread name, and a NUL would end it early.
        if (name->find('\0') != std::string::npos) {
            f.errorHere("thread name " + shownName(*name) + " holds a NUL character");
        } else if (name->empty() || name->size() > 15) {
            f.errorHere("thread names have 1 to 15 bytes");
        }
        s.thread = *name;
    }
    return s;
}

StepAction ScriptParser::readEas(Fields& f) {
    EasStep s;
    if (const auto* tid = f.take("tid")) {
        if (!(tid->isString() && tid->asString() == "self")) {
            if (auto n = f.integerValue(*tid, "tid (\"self\" or a number)", INT32_MIN, INT32_MAX)) {
                s.tid = static_cast<int>(*n);
            }
        }
    }
    f.integerInto(s.flags, "flags", 0, 0xffff, true);
    f.integerInto(s.releaseAfterMs, "release_after_ms", 0, kMaxTimeoutMs);
    return s;
}

StepAction ScriptParser::readProp(Fields& f) {
    PropStep s;
    if (auto name = f.string("name", true))
        s.name = *name;
    if (const auto* value = f.take("value", true)) {
        if (auto text = propertyText(*value)) {
            s.value = *text;
        } else {
            f.error(*value, "value must be a string, integer or boolean");
        }
        validProperty(f, *value, s.name, s.value);
    }
    return s;
}

StepAction ScriptParser::readWait(Fields& f) {
    WaitStep s;
    f.integerInto(s.ms, "ms", 0, kMaxWaitMs, true);
    return s;
}

}  // namespace qvnperfctl
