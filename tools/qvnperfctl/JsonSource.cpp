#include "JsonSource.h"

#include <algorithm>
#include <cctype>
#include <fstream>
#include <sstream>

namespace qvnperfctl {

JsonSource::Status JsonSource::load(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        mPath = path;
        mError = "cannot read " + path;
        return Status::IoError;
    }
    std::ostringstream text;
    text << in.rdbuf();
    if (in.bad()) {
        mPath = path;
        mError = "cannot read " + path;
        return Status::IoError;
    }
    return parse(path, text.str());
}

JsonSource::Status JsonSource::parse(const std::string& path, std::string text) {
    mPath = path;
    mText = std::move(text);
    mLineStarts.assign(1, 0);
    for (std::size_t i = 0; i < mText.size(); ++i) {
        if (mText[i] == '\n')
            mLineStarts.push_back(i + 1);
    }
    mRoot = Json::Value();
    mError.clear();
    mErrorLine = 0;

    // Strict JSON, so that what passes here loads in any JSON reader a device uses; the
    // callers check the top level's shape themselves and name its line.
    Json::Features features = Json::Features::strictMode();
    features.strictRoot_ = false;
    Json::Reader reader(features);
    bool ok = false;
    try {
        ok = reader.parse(mText.data(), mText.data() + mText.size(), mRoot, false);
    } catch (const std::exception& e) {  // nesting deeper than the reader's limit
        mError = e.what();
        mErrorLine = 1;
        return Status::ParseError;
    }
    if (!ok) {
        auto errors = reader.getStructuredErrors();
        mError = errors.empty() ? "malformed JSON" : errors.front().message;
        mErrorLine = errors.empty() ? 1 : lineOf(errors.front().offset_start);
        return Status::ParseError;
    }
    auto end = static_cast<std::size_t>(std::max<std::ptrdiff_t>(mRoot.getOffsetLimit(), 0));
    auto extra = std::find_if(mText.begin() + std::min(end, mText.size()), mText.end(),
                              [](unsigned char c) { return !std::isspace(c); });
    if (extra != mText.end()) {
        mError = "unexpected text after the JSON document";
        mErrorLine = lineOf(extra - mText.begin());
        return Status::ParseError;
    }
    return Status::Ok;
}

int JsonSource::lineOf(std::ptrdiff_t offset) const {
    if (offset < 0 || mLineStarts.empty())
        return 1;
    auto it =
        std::upper_bound(mLineStarts.begin(), mLineStarts.end(), static_cast<std::size_t>(offset));
    return static_cast<int>(it - mLineStarts.begin());
}

namespace {

// Offset just past the string literal starting at `pos` (an opening quote).
std::size_t skipString(const std::string& text, std::size_t pos) {
    for (++pos; pos < text.size(); ++pos) {
        if (text[pos] == '\\') {
            ++pos;
        } else if (text[pos] == '"') {
            return pos + 1;
        }
    }
    return pos;
}

// The string a JSON string literal stands for, escapes decoded by the JSON library.
std::string decodeString(const std::string& literal) {
    Json::Reader reader(Json::Features::all());
    Json::Value value;
    if (reader.parse(literal, value, false) && value.isString())
        return value.asString();
    return literal;
}

}  // namespace

std::vector<JsonSource::Member> JsonSource::membersAsWritten(const Json::Value& object) const {
    std::vector<Member> members;
    if (!object.isObject())
        return members;
    auto begin = static_cast<std::size_t>(std::max<std::ptrdiff_t>(object.getOffsetStart(), 0));
    auto limit =
        std::min(mText.size(),
                 static_cast<std::size_t>(std::max<std::ptrdiff_t>(object.getOffsetLimit(), 0)));
    // The document parsed, so a plain scan suffices: a string right after '{' or ','
    // at depth 1 is a member name.
    int depth = 0;
    bool expectName = false;
    for (std::size_t pos = begin; pos < limit;) {
        char c = mText[pos];
        if (c == '"') {
            std::size_t end = skipString(mText, pos);
            if (depth == 1 && expectName) {
                members.push_back({decodeString(mText.substr(pos, end - pos)),
                                   lineOf(static_cast<std::ptrdiff_t>(pos))});
                expectName = false;
            }
            pos = end;
            continue;
        }
        if (c == '{' || c == '[') {
            ++depth;
            expectName = (c == '{' && depth == 1);
        } else if (c == '}' || c == ']') {
            --depth;
        } else if (c == ',' && depth == 1) {
            expectName = true;
        }
        ++pos;
    }
    return members;
}

}  // namespace qvnperfctl
