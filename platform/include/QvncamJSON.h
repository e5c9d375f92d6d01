// SPDX-License-Identifier: Apache-2.0
#pragma once

// The camera platform's JSON facility: a convertor that loads a configuration
// document by type, and the document value it fills.

#include <cstdint>
#include <string>
#include <vector>

// A JSON value. An object's members are kept as a contiguous range of values,
// each carrying its member name.
class QvncamJSONData {
  public:
    enum class Type { Null, Bool, Int, Real, String, Array, Object };

    QvncamJSONData() = default;

    bool hasMember(const std::string& name) const;
    // The member's value; a shared null value when there is no such member.
    const QvncamJSONData& operator[](const char* name) const;
    bool isObject() const { return mType == Type::Object; }
    const QvncamJSONData* begin() const { return mMembers.data(); }
    const QvncamJSONData* end() const { return mMembers.data() + mMembers.size(); }
    // The member name of an object member element.
    std::string key() const { return mKey; }
    // An integral number that fits in 32 bits converts as it is (a real without
    // fraction, such as 3.0, counts); anything else (a fraction, a value out of
    // range, a string, bool, null, array or object) converts to 0 with a warning
    // under the tag "QvncamJSONConvertor" naming the member.
    operator int() const;
    // The same conversion without the warning: false when the value is read as 0
    // for not being a 32-bit integer.
    bool toInt32(int* out) const;

    Type type() const { return mType; }
    // Elements of an array, members of an object.
    const std::vector<QvncamJSONData>& children() const { return mMembers; }

    // Builds a document from JSON text as qvncam::platform::parseJsonText reads it;
    // false (and the document left null) when that refuses it. Members come in the
    // JSON library's order (sorted by name); of duplicate names the last one stays.
    bool parse(const std::string& text, std::string* error = nullptr);

  private:
    friend class QvncamJSONBuilder;

    Type mType = Type::Null;
    std::string mKey;
    int64_t mInt = 0;
    double mReal = 0.0;
    bool mIntegral = false;
    std::string mString;
    std::vector<QvncamJSONData> mMembers;
};

class QvncamJSONConvertor {
  public:
    // Configuration type of the camera performance settings.
    static constexpr int TYPE_CAMERA_PERF = 3;

    // The caller owns the convertor.
    static QvncamJSONConvertor* createInstance();
    virtual ~QvncamJSONConvertor();
    // Loads the configuration of `type` into `out`; non-zero on success. On failure
    // (unknown type, a file that is missing, unreadable, over 16 MiB or malformed)
    // returns 0, logs one warning and leaves `out` as it was.
    virtual int getJsonData(int type, QvncamJSONData& out) = 0;
};
