// SPDX-License-Identifier: Apache-2.0
#pragma once

// A JSON file kept with its text, so that messages can name the line of any value
// or member, duplicates included (the parsed tree keeps only the last of those). Files
// are read and parsed by the controller's own rules (size, depth, syntax).

#include <json/json.h>

#include <cstddef>
#include <string>
#include <vector>

namespace qvnperfctl {

class JsonSource {
  public:
    enum class Status { Ok, IoError, TooLarge, ParseError };

    // Reads and parses `path`. On IoError and TooLarge `error()` says why; on ParseError
    // it is the parser's message and `errorLine()` its line.
    Status load(const std::string& path);
    // Same from text already in memory (`path` only names it in messages).
    Status parse(const std::string& path, std::string text);

    const std::string& path() const { return mPath; }
    const std::string& text() const { return mText; }
    const Json::Value& root() const { return mRoot; }
    const std::string& error() const { return mError; }
    int errorLine() const { return mErrorLine; }

    // 1-based line of a byte offset of the text, or of where a value starts.
    int lineOf(std::ptrdiff_t offset) const;
    int lineOf(const Json::Value& value) const { return lineOf(value.getOffsetStart()); }
    // The value as written.
    std::string textOf(const Json::Value& value) const;

    struct Member {
        std::string name;
        int line;
    };
    // The members of `object` (a value of this document) as written, in order,
    // duplicates included.
    std::vector<Member> membersAsWritten(const Json::Value& object) const;

  private:
    std::string mPath;
    std::string mText;
    std::vector<std::size_t> mLineStarts;
    Json::Value mRoot;
    std::string mError;
    int mErrorLine = 0;
};

}  // namespace qvnperfctl
