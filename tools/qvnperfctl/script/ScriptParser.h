// SPDX-License-Identifier: Apache-2.0
#pragma once

// Reading a session script: shared by the script reader (SessionScript.cpp) and the
// parsers of each step kind (StepParsers.cpp). Not for use outside this folder.

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "script/JsonSource.h"
#include "script/SessionScript.h"

namespace qvnperfctl {

// A whole-string integer as the project reads its own inputs (ParseInt.h): base 10, 0x-hex
// or 0-octal, with optional sign, no blanks.
std::optional<int64_t> parseNumber(const std::string& text);

// A property value as the properties file holds it: integers and booleans written out.
std::optional<std::string> propertyText(const Json::Value& v);

// The members of one object, each read at most once; what is left is reported as
// unknown, so that a misspelt member does not pass silently.
class Fields {
  public:
    Fields(const JsonSource& source, const Json::Value& object, std::string where,
           std::vector<ScriptError>& errors)
        : mSource(source), mObject(object), mWhere(std::move(where)), mErrors(errors) {}

    void error(const Json::Value& at, const std::string& message);
    void errorHere(const std::string& message) { error(mObject, message); }

    const Json::Value* take(const char* name, bool required = false);

    // An integer member in [min, max]: a JSON integer or a string such as "0x8001".
    std::optional<int64_t> integer(const char* name, int64_t min, int64_t max,
                                   bool required = false);

    // Stores an integer member in `to` when it is there and in range; `to` keeps its
    // default otherwise.
    template <typename T>
    void integerInto(T& to, const char* name, int64_t min, int64_t max, bool required = false) {
        if (auto value = integer(name, min, max, required))
            to = static_cast<T>(*value);
    }

    std::optional<int64_t> integerValue(const Json::Value& v, const std::string& what, int64_t min,
                                        int64_t max);

    std::optional<std::string> string(const char* name, bool required = false);

    // Reports the members nobody read and those written twice, with their lines.
    void finish();

  private:
    const JsonSource& mSource;
    const Json::Value& mObject;
    std::string mWhere;
    std::vector<ScriptError>& mErrors;
    std::set<std::string> mTaken;
};

// Property names and values the properties file can hold; reported at `at` otherwise.
bool validProperty(Fields& fields, const Json::Value& at, const std::string& name,
                   const std::string& value);

class ScriptParser {
  public:
    ScriptParser(const JsonSource& source, Session& out) : mSource(source), mOut(out) {}

    std::vector<ScriptError> run();

  private:
    void readProperties(Fields& top, const Json::Value& props);
    void readStep(const Json::Value& step);

    // One per step kind. They keep track of the camera's state to catch steps out of
    // order.
    StepAction readOpen(Fields& f);
    StepAction readClose(Fields& f);
    StepAction readConfigure(Fields& f);
    void readStream(const Json::Value& v, qcam::StreamConfiguration& config);
    StepAction readRequests(Fields& f);
    StepAction readBoost(Fields& f);
    StepAction readAffinity(Fields& f);
    StepAction readEas(Fields& f);
    StepAction readProp(Fields& f);
    StepAction readWait(Fields& f);

    const JsonSource& mSource;
    Session& mOut;
    std::vector<ScriptError> mErrors;
    bool mOpen = false;
    bool mConfigured = false;
    int64_t mNextRequest = 0;
};

}  // namespace qvnperfctl
