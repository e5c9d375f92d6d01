#define LOG_TAG "QvncamJSONConvertor"

#include "QvncamJSON.h"

#include <json/json.h>

#include <cmath>
#include <exception>
#include <memory>

#include "CamLog.h"

namespace {

// Nesting allowed in a document. Checked before the JSON library sees the text, so
// that its own limit (which throws, or aborts where exceptions are off) never trips.
constexpr int kMaxDepth = 100;

// Skips strings and comments; false when brackets nest deeper than kMaxDepth.
bool nestingWithinLimit(const std::string& text) {
    int depth = 0;
    const size_t n = text.size();
    for (size_t i = 0; i < n; ++i) {
        char c = text[i];
        if (c == '"') {
            for (++i; i < n && text[i] != '"'; ++i) {
                if (text[i] == '\\')
                    ++i;
            }
        } else if (c == '/' && i + 1 < n && text[i + 1] == '/') {
            while (i < n && text[i] != '\n')
                ++i;
        } else if (c == '/' && i + 1 < n && text[i + 1] == '*') {
            size_t end = text.find("*/", i + 2);
            i = end == std::string::npos ? n : end + 1;
        } else if (c == '[' || c == '{') {
            if (++depth > kMaxDepth)
                return false;
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
    return true;
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

// Only an integral number within int32 converts as it is (a real such as 3.0 counts).
// A fraction, a value out of range, a string, bool, null, array or object gives 0 and
// a warning naming the member.
QvncamJSONData::operator int() const {
    if ((mType == Type::Int || mType == Type::Real) && mIntegral && mInt >= INT32_MIN &&
        mInt <= INT32_MAX) {
        return static_cast<int>(mInt);
    }
    CAM_LOGW("member \"%s\" is not a 32-bit integer, read as 0", mKey.c_str());
    return 0;
}

bool QvncamJSONData::parse(const std::string& text, std::string* error) {
    *this = QvncamJSONData();
    std::string errors;
    if (!nestingWithinLimit(text)) {
        if (error != nullptr)
            *error = "nesting deeper than " + std::to_string(kMaxDepth);
        return false;
    }
    Json::CharReaderBuilder builder;
    builder["failIfExtra"] = true;
    builder["stackLimit"] = kMaxDepth * 10;
    std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value root;
    bool ok = false;
    try {
        ok = reader->parse(text.data(), text.data() + text.size(), &root, &errors);
    } catch (const std::exception& e) {
        errors = e.what();
    }
    if (!ok) {
        if (error != nullptr)
            *error = errors;
        return false;
    }
    QvncamJSONBuilder::build(root, *this);
    return true;
}
