// SPDX-License-Identifier: Apache-2.0
#include "script/SessionScript.h"

#include <algorithm>

#include "script/JsonSource.h"
#include "script/PropertyFile.h"
#include "script/ScriptParser.h"
#include "script/ShownText.h"
#include "qvncam/platform/ParseInt.h"

namespace qvnperfctl {

std::optional<int64_t> parseNumber(const std::string& text) {
    int64_t value = 0;
    if (!qvncam::platform::parseInt(text, &value))
        return std::nullopt;
    return value;
}

std::optional<std::string> propertyText(const Json::Value& v) {
    if (v.isString())
        return v.asString();
    if (v.isBool())
        return std::string(v.asBool() ? "true" : "false");
    if (v.isInt64())
        return std::to_string(v.asInt64());
    return std::nullopt;
}

void Fields::error(const Json::Value& at, const std::string& message) {
    mErrors.push_back({mSource.lineOf(at), mWhere + ": " + message});
}

const Json::Value* Fields::take(const char* name, bool required) {
    mTaken.insert(name);
    if (mObject.isMember(name))
        return &mObject[name];
    if (required)
        errorHere(std::string("missing \"") + name + "\"");
    return nullptr;
}

std::optional<int64_t> Fields::integer(const char* name, int64_t min, int64_t max, bool required) {
    const Json::Value* v = take(name, required);
    return v ? integerValue(*v, name, min, max) : std::nullopt;
}

std::optional<int64_t> Fields::integerValue(const Json::Value& v, const std::string& what,
                                            int64_t min, int64_t max) {
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

std::optional<std::string> Fields::string(const char* name, bool required) {
    const Json::Value* v = take(name, required);
    if (!v)
        return std::nullopt;
    if (!v->isString()) {
        error(*v, std::string(name) + " must be a string");
        return std::nullopt;
    }
    return v->asString();
}

void Fields::finish() {
    std::set<std::string> seen;
    for (const auto& member : mSource.membersAsWritten(mObject)) {
        if (!seen.insert(member.name).second) {
            mErrors.push_back(
                {member.line, mWhere + ": " + shownName(member.name) + " given twice"});
        } else if (!mTaken.count(member.name)) {
            mErrors.push_back({member.line, mWhere + ": unknown member " + shownName(member.name)});
        }
    }
}

bool validProperty(Fields& fields, const Json::Value& at, const std::string& name,
                   const std::string& value) {
    if (auto problem = propertyProblem(name, value)) {
        fields.error(at, *problem);
        return false;
    }
    return true;
}

std::vector<ScriptError> ScriptParser::run() {
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

void ScriptParser::readProperties(Fields& top, const Json::Value& props) {
    if (!props.isObject()) {
        top.error(props, "\"properties\" must be an object of name: value");
        return;
    }
    for (const auto& name : props.getMemberNames()) {
        const auto& v = props[name];
        auto value = propertyText(v);
        if (!value) {
            top.error(v, "property " + shownName(name) + " must be a string, integer or boolean");
            continue;
        }
        if (!validProperty(top, v, name, *value))
            continue;
        mOut.properties.emplace_back(name, *value);
    }
}

void ScriptParser::readStep(const Json::Value& step) {
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
        action = readWait(f);
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

std::vector<ScriptError> parseSession(const JsonSource& source, Session& out) {
    out = Session();
    out.path = source.path();
    auto errors = ScriptParser(source, out).run();
    std::stable_sort(errors.begin(), errors.end(),
                     [](const ScriptError& a, const ScriptError& b) { return a.line < b.line; });
    return errors;
}

}  // namespace qvnperfctl
