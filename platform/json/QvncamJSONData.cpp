// SPDX-License-Identifier: Apache-2.0
#include "QvncamJSON.h"

#include <json/json.h>
#include <unistd.h>

#include <cmath>
#include <exception>
#include <memory>

#include "qvncam/platform/JsonText.h"
#include "qvncam/platform/ReadFile.h"

namespace {

using qvncam::platform::kMaxJsonDepth;

// "* Line N, Column M", as the JSON library starts its messages.
std::string position(const std::string& text, size_t offset) {
    int line = 1;
    size_t lineStart = 0;
    for (size_t i = 0; i < offset && i < text.size(); ++i) {
        if (text[i] == '\n' || (text[i] == '\r' && (i + 1 >= text.size() || text[i + 1] != '\n'))) {
            ++line;
            lineStart = i + 1;
        }
    }
    return "* Line " + std::to_string(line) + ", Column " + std::to_string(offset - lineStart + 1);
}

// Offset of the bracket that nests deeper than kMaxJsonDepth, or npos. Strings, escapes
// and comments are skipped by the JSON library's own rules: a `//` comment ends at \n or
// \r, a `/*` comment at the next `*/`, a string at the next unescaped quote. Anything
// the library would refuse anyway may be miscounted here.
size_t tooDeepAt(const std::string& text) {
    int depth = 0;
    const size_t n = text.size();
    for (size_t i = 0; i < n; ++i) {
        const char c = text[i];
        if (c == '"') {
            for (++i; i < n && text[i] != '"'; ++i) {
                if (text[i] == '\\')
                    ++i;
            }
        } else if (c == '/' && i + 1 < n && text[i + 1] == '/') {
            while (i < n && text[i] != '\n' && text[i] != '\r')
                ++i;
        } else if (c == '/' && i + 1 < n && text[i + 1] == '*') {
            const size_t end = text.find("*/", i + 2);
            i = end == std::string::npos ? n : end + 1;
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxJsonDepth)
                return i;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return std::string::npos;
}

// The integral value of d when it has no fraction and fits in int64.
bool integralValue(double d, int64_t* out) {
    // 2^63 is exact as a double; the range test keeps the cast defined.
    if (!std::isfinite(d) || d < -9223372036854775808.0 || d >= 9223372036854775808.0 ||
        std::trunc(d) != d) {
        return false;
    }
    *out = static_cast<int64_t>(d);
    return true;
}

}  // namespace

// Converts the JSON library's values into ours.
class QvncamJSONBuilder {
  public:
    static void build(const Json::Value& in, QvncamJSONData& out) {
        switch (in.type()) {
            case Json::nullValue:
                out.mType = QvncamJSONData::Type::Null;
                break;
            case Json::booleanValue:
                out.mType = QvncamJSONData::Type::Bool;
                out.mInt = in.asBool() ? 1 : 0;
                break;
            case Json::intValue:
                out.mType = QvncamJSONData::Type::Int;
                out.mInt = in.asInt64();
                out.mReal = static_cast<double>(out.mInt);
                out.mIntegral = true;
                break;
            case Json::uintValue:
                out.mType = QvncamJSONData::Type::Int;
                out.mReal = static_cast<double>(in.asUInt64());
                if (in.isInt64()) {
                    out.mInt = in.asInt64();
                    out.mIntegral = true;
                }
                break;
            case Json::realValue:
                out.mType = QvncamJSONData::Type::Real;
                out.mReal = in.asDouble();
                out.mIntegral = integralValue(out.mReal, &out.mInt);
                break;
            case Json::stringValue:
                out.mType = QvncamJSONData::Type::String;
                out.mString = in.asString();
                break;
            case Json::arrayValue:
                out.mType = QvncamJSONData::Type::Array;
                out.mMembers.resize(in.size());
                for (Json::ArrayIndex i = 0; i < in.size(); ++i)
                    build(in[i], out.mMembers[i]);
                break;
            case Json::objectValue: {
                out.mType = QvncamJSONData::Type::Object;
                out.mMembers.resize(in.size());
                size_t i = 0;
                for (auto it = in.begin(); it != in.end(); ++it, ++i) {
                    out.mMembers[i].mKey = it.name();
                    build(*it, out.mMembers[i]);
                }
                break;
            }
        }
    }
};

bool QvncamJSONData::hasMember(const std::string& name) const {
    if (mType != Type::Object)
        return false;
    for (const QvncamJSONData& member : mMembers) {
        if (member.mKey == name)
            return true;
    }
    return false;
}

const QvncamJSONData& QvncamJSONData::operator[](const char* name) const {
    // Never destroyed: documents may be read during static destruction.
    static const QvncamJSONData* const kNull = new QvncamJSONData;
    if (mType != Type::Object || name == nullptr)
        return *kNull;
    for (const QvncamJSONData& member : mMembers) {
        if (member.mKey == name)
            return member;
    }
    return *kNull;
}

bool QvncamJSONData::toInt32(int* out) const {
    if ((mType == Type::Int || mType == Type::Real) && mIntegral && mInt >= INT32_MIN &&
        mInt <= INT32_MAX) {
        *out = static_cast<int>(mInt);
        return true;
    }
    *out = 0;
    return false;
}

bool QvncamJSONData::parse(const std::string& text, std::string* error) {
    *this = QvncamJSONData();
    Json::Value root;
    std::string why;
    if (!qvncam::platform::parseJsonText(text, root, why)) {
        if (error != nullptr)
            *error = why;
        return false;
    }
    QvncamJSONBuilder::build(root, *this);
    return true;
}

namespace qvncam {
namespace platform {

JsonFileStatus readJsonFile(const char* path, std::string& text, std::string& why) {
    struct stat st {};
    const int fd = readRegularFile(path, kMaxJsonFileSize, st, text, why);
    if (fd >= 0) {
        ::close(fd);
        return JsonFileStatus::Ok;
    }
    return S_ISREG(st.st_mode) && st.st_size > kMaxJsonFileSize ? JsonFileStatus::TooLarge
                                                                : JsonFileStatus::Unreadable;
}

bool parseJsonText(const std::string& text, Json::Value& root, std::string& error) {
    root = Json::Value();
    const size_t deep = tooDeepAt(text);
    if (deep != std::string::npos) {
        error = position(text, deep) + "\n  nesting deeper than " + std::to_string(kMaxJsonDepth) +
                "\n";
        return false;
    }
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    builder["stackLimit"] = kMaxJsonDepth * 10;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    error.clear();
    try {
        if (reader->parse(text.data(), text.data() + text.size(), &root, &error))
            return true;
    } catch (const std::exception& e) {
        error = e.what();
    }
    root = Json::Value();
    return false;
}

}  // namespace platform
}  // namespace qvncam
