#include "script/SessionScript.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <set>

#include "script/JsonSource.h"

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

// A whole-string integer in base 10 or 0x-hex, with optional sign.
std::optional<int64_t> parseNumber(const std::string& text) {
    if (text.empty())
        return std::nullopt;
    errno = 0;
    char* end = nullptr;
    long long value = std::strtoll(text.c_str(), &end, 0);
    if (errno != 0 || *end != '\0')
        return std::nullopt;
    return value;
}

// A property value as the properties file holds it: integers and booleans written out.
std::optional<std::string> propertyText(const Json::Value& v) {
    if (v.isString())
        return v.asString();
    if (v.isBool())
        return std::string(v.asBool() ? "true" : "false");
    if (v.isInt64())
        return std::to_string(v.asInt64());
    return std::nullopt;
}

// The members of one object, each read at most once; what is left is reported as
// unknown, so that a misspelt member does not pass silently.
class Fields {
  public:
    Fields(const JsonSource& source, const Json::Value& object, std::string where,
           std::vector<ScriptError>& errors)
        : mSource(source), mObject(object), mWhere(std::move(where)), mErrors(errors) {}

    void error(const Json::Value& at, const std::string& message) {
        mErrors.push_back({mSource.lineOf(at), mWhere + ": " + message});
    }
    void errorHere(const std::string& message) { error(mObject, message); }

    const Json::Value* take(const char* name, bool required = false) {
        mTaken.insert(name);
        if (mObject.isMember(name))
            return &mObject[name];
        if (required)
            errorHere(std::string("missing \"") + name + "\"");
        return nullptr;
    }

    // An integer member in [min, max]: a JSON integer or a string such as "0x8001".
    std::optional<int64_t> integer(const char* name, int64_t min, int64_t max,
                                   bool required = false) {
        const Json::Value* v = take(name, required);
        return v ? integerValue(*v, name, min, max) : std::nullopt;
    }

    // Stores an integer member in `to` when it is there and in range; `to` keeps its
    // default otherwise.
    template <typename T>
    void integerInto(T& to, const char* name, int64_t min, int64_t max, bool required = false) {
        if (auto value = integer(name, min, max, required))
            to = static_cast<T>(*value);
    }

    std::optional<int64_t> integerValue(const Json::Value& v, const std::string& what, int64_t min,
                                        int64_t max) {
        std::optional<int64_t> value;
        if (v.isInt64()) {
            value = v.asInt64();
        } else if (v.isString()) {
            value = parseNumber(v.asString());
        }
        if (!value || *value < min || *value > max) {
            error(v, what + " must be an integer from " + std::to_string(min) + " to " +
                         std::to_string(max));
            return std::nullopt;
        }
        return value;
    }

    std::optional<std::string> string(const char* name, bool required = false) {
        const Json::Value* v = take(name, required);
        if (!v)
            return std::nullopt;
        if (!v->isString()) {
            error(*v, std::string(name) + " must be a string");
            return std::nullopt;
        }
        return v->asString();
    }

    // Reports the members nobody read and those written twice, with their lines.
    void finish() {
        std::set<std::string> seen;
        for (const auto& member : mSource.membersAsWritten(mObject)) {
            if (!seen.insert(member.name).second) {
                mErrors.push_back({member.line, mWhere + ": \"" + member.name + "\" given twice"});
            } else if (!mTaken.count(member.name)) {
                mErrors.push_back(
                    {member.line, mWhere + ": unknown member \"" + member.name + "\""});
            }
        }
    }

  private:
    const JsonSource& mSource;
    const Json::Value& mObject;
    std::string mWhere;
    std::vector<ScriptError>& mErrors;
    std::set<std::string> mTaken;
};

class ScriptParser {
  public:
    ScriptParser(const JsonSource& source, Session& out) : mSource(source), mOut(out) {}

    std::vector<ScriptError> run() {
        const auto& root = mSource.root();
        if (!root.isObject()) {
            mErrors.push_back({mSource.lineOf(root), "a session script is a JSON object"});
            return mErrors;
        }
        Fields top(mSource, root, "session", mErrors);
        if (auto d = top.string("description"))
            mOut.description = *d;
        if (const auto* props = top.take("properties"))
            readProperties(top, *props);
        const auto* steps = top.take("steps");
        if (!steps || !steps->isArray() || steps->empty()) {
            top.error(steps ? *steps : root, "\"steps\" must be a non-empty array");
        } else {
            for (const auto& step : *steps)
                readStep(step);
        }
        top.finish();
        return mErrors;
    }

  private:
    void readProperties(Fields& top, const Json::Value& props) {
        if (!props.isObject()) {
            top.error(props, "\"properties\" must be an object of name: value");
            return;
        }
        for (const auto& name : props.getMemberNames()) {
            const auto& v = props[name];
            auto value = propertyText(v);
            if (!value) {
                top.error(v, "property " + name + " must be a string, integer or boolean");
                continue;
            }
            if (!validProperty(top, v, name, *value))
                continue;
            mOut.properties.emplace_back(name, *value);
        }
    }

    bool validProperty(Fields& fields, const Json::Value& at, const std::string& name,
                       const std::string& value) {
        if (name.empty() || name.find_first_of("=\n# ") != std::string::npos ||
            value.find('\n') != std::string::npos) {
            fields.error(at,
                         "property names cannot be empty or hold '=', '#', blanks or line "
                         "breaks, values cannot hold line breaks");
            return false;
        }
        return true;
    }

    void readStep(const Json::Value& step) {
        int line = mSource.lineOf(step);
        if (!step.isObject() || !step.isMember("op") || !step["op"].isString()) {
            mErrors.push_back({line, "each step is an object with a string \"op\""});
            return;
        }
        std::string op = step["op"].asString();
        Fields f(mSource, step, op, mErrors);
        f.take("op");
        std::optional<StepAction> action;
        if (op == "open") {
            action = readOpen(f);
        } else if (op == "configure") {
            action = readConfigure(f);
        } else if (op == "requests") {
            action = readRequests(f);
        } else if (op == "boost") {
            action = readBoost(f);
        } else if (op == "affinity") {
            action = readAffinity(f);
        } else if (op == "eas") {
            action = readEas(f);
        } else if (op == "prop") {
            action = readProp(f);
        } else if (op == "wait") {
            WaitStep w;
            f.integerInto(w.ms, "ms", 0, kMaxWaitMs, true);
            action = w;
        } else if (op == "close") {
            action = readClose(f);
        } else if (op == "dump") {
            action = DumpStep{};
        } else {
            f.error(step["op"],
                    "unknown op (one of open, configure, requests, boost, affinity, "
                    "eas, prop, wait, close, dump)");
            return;
        }
        f.finish();
        if (action)
            mOut.steps.push_back({line, std::move(*action)});
    }

    StepAction readOpen(Fields& f) {
        OpenStep s;
        if (mOpen)
            f.errorHere("the camera is already open (close it first)");
        mOpen = true;
        mConfigured = false;
        f.integerInto(s.boostMs, "boost_ms", 0, kMaxTimeoutMs);
        return s;
    }

    StepAction readClose(Fields& f) {
        if (!mOpen)
            f.errorHere("the camera is not open");
        mOpen = false;
        mConfigured = false;
        return CloseStep{};
    }

    StepAction readConfigure(Fields& f) {
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

    void readStream(const Json::Value& v, qcam::StreamConfiguration& config) {
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

    StepAction readRequests(Fields& f) {
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

    static std::string compact(const Json::Value& v) {
        if (v.isString())
            return v.asString();
        Json::StreamWriterBuilder writer;
        writer["indentation"] = "";
        return Json::writeString(writer, v);
    }

    static std::string shortName(const std::string& tagName) {
        auto dot = tagName.rfind('.');
        return dot == std::string::npos ? tagName : tagName.substr(dot + 1);
    }

    StepAction readBoost(Fields& f) {
        BoostStep s;
        if (const auto* level = f.take("level", true)) {
            if (level->isString() && level->asString() == "default") {
                s.defaultBoost = true;
            } else if (auto n = f.integerValue(*level, "level (0-3 or \"default\")", INT32_MIN,
                                               INT32_MAX)) {
                s.level = static_cast<int>(*n);
            }
        }
        f.integerInto(s.timeoutMs, "timeout_ms", 0, kMaxTimeoutMs, true);
        f.integerInto(s.releaseAfterMs, "release_after_ms", 0, kMaxTimeoutMs);
        return s;
    }

    StepAction readAffinity(Fields& f) {
        AffinityStep s;
        if (auto name = f.string("thread", true)) {
            // The kernel keeps 15 bytes of a thread name.
            if (name->empty() || name->size() > 15) {
                f.errorHere("thread names have 1 to 15 characters");
            }
            s.thread = *name;
        }
        return s;
    }

    StepAction readEas(Fields& f) {
        EasStep s;
        if (const auto* tid = f.take("tid")) {
            if (!(tid->isString() && tid->asString() == "self")) {
                if (auto n =
                        f.integerValue(*tid, "tid (\"self\" or a number)", INT32_MIN, INT32_MAX)) {
                    s.tid = static_cast<int>(*n);
                }
            }
        }
        f.integerInto(s.flags, "flags", 0, 0xffff, true);
        f.integerInto(s.releaseAfterMs, "release_after_ms", 0, kMaxTimeoutMs);
        return s;
    }

    StepAction readProp(Fields& f) {
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

    const JsonSource& mSource;
    Session& mOut;
    std::vector<ScriptError> mErrors;
    bool mOpen = false;
    bool mConfigured = false;
    int64_t mNextRequest = 0;
};

}  // namespace

std::vector<ScriptError> parseSession(const JsonSource& source, Session& out) {
    out = Session();
    out.path = source.path();
    auto errors = ScriptParser(source, out).run();
    std::stable_sort(errors.begin(), errors.end(),
                     [](const ScriptError& a, const ScriptError& b) { return a.line < b.line; });
    return errors;
}

}  // namespace qvnperfctl
