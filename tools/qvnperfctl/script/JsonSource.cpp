// SPDX-License-Identifier: Apache-2.0
#include "script/JsonSource.h"

#include <algorithm>
#include <cctype>

#include "qvncam/platform/JsonText.h"

namespace qvnperfctl {

JsonSource::Status JsonSource::load(const std::string& path) {
    std::string text;
    switch (qvncam::platform::readJsonFile(path.c_str(), text, mError)) {
        case qvncam::platform::JsonFileStatus::Unreadable:
            mPath = path;
            mError = "cannot read " + path + ": " + mError;
            return Status::IoError;
        case qvncam::platform::JsonFileStatus::TooLarge:
            mPath = path;
            mError = path + " is larger than " +
                     std::to_string(qvncam::platform::kMaxJsonFileSize) + " bytes";
            return Status::TooLarge;
        case qvncam::platform::JsonFileStatus::Ok:
            break;
    }
    return parse(path, std::move(text));
}

namespace {

// The line the JSON library's message names ("* Line N, Column M"), else 1.
int messageLine(const std::string& message) {
    const std::string mark = "Line ";
    const size_t at = message.find(mark);
    if (at == std::string::npos)
        return 1;
    int line = 0;
    for (size_t i = at + mark.size();
         i < message.size() && std::isdigit(static_cast<unsigned char>(message[i])); ++i)
        line = std::min(line * 10 + (message[i] - '0'), 1 << 30);
    return line > 0 ? line : 1;
}

// The message without its position and line breaks.
std::string messageText(const std::string& message) {
    std::string out;
    size_t start = message.find('\n');
    start = message.compare(0, 2, "* ") == 0 && start != std::string::npos ? start + 1 : 0;
    for (size_t i = start; i < message.size(); ++i) {
        const char c = message[i];
        if (c == '\n' || c == '\r' || c == ' ') {
            if (!out.empty() && out.back() != ' ')
                out += ' ';
        } else {
            out += c;
        }
    }
    while (!out.empty() && out.back() == ' ')
        out.pop_back();
    return out.empty() ? "malformed JSON" : out;
}

}  // namespace

JsonSource::Status JsonSource::parse(const std::string& path, std::string text) {
    mPath = path;
    mText = std::move(text);
    mLineStarts.assign(1, 0);
    // Lines as the parser counts them in its messages: \n, \r\n or a lone \r ends one.
    for (std::size_t i = 0; i < mText.size(); ++i) {
        if (mText[i] == '\n' ||
            (mText[i] == '\r' && (i + 1 == mText.size() || mText[i + 1] != '\n')))
            mLineStarts.push_back(i + 1);
    }
    mError.clear();
    mErrorLine = 0;
    std::string message;
    if (!qvncam::platform::parseJsonText(mText, mRoot, message)) {
        mError = messageText(message);
        mErrorLine = messageLine(message);
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

std::string JsonSource::textOf(const Json::Value& value) const {
    const auto begin = value.getOffsetStart(), limit = value.getOffsetLimit();
    if (begin < 0 || limit < begin || static_cast<std::size_t>(limit) > mText.size())
        return {};
    return mText.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(limit - begin));
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
    // at depth 1 is a member name; comments are skipped as the parser skips them.
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
        if (c == '/' && pos + 1 < limit && mText[pos + 1] == '/') {
            while (pos < limit && mText[pos] != '\n' && mText[pos] != '\r')
                ++pos;
            continue;
        }
        if (c == '/' && pos + 1 < limit && mText[pos + 1] == '*') {
            const std::size_t end = mText.find("*/", pos + 2);
            pos = end == std::string::npos ? limit : end + 2;
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
