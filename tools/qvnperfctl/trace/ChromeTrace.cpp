// SPDX-License-Identifier: Apache-2.0
#include "trace/ChromeTrace.h"

#include <json/json.h>

#include <memory>

namespace qvnperfctl {
namespace {

constexpr int kPid = 1;
constexpr int kStepsTid = 1;
constexpr int kFirstLockTid = 100;

Json::Value event(const char* phase, const std::string& name, int tid, int64_t tsUs) {
    Json::Value e;
    e["ph"] = phase;
    e["name"] = name;
    e["pid"] = kPid;
    e["tid"] = tid;
    e["ts"] = static_cast<Json::Int64>(tsUs);
    return e;
}

Json::Value metadata(const char* what, int tid, const Json::Value& args) {
    Json::Value e;
    e["ph"] = "M";
    e["name"] = what;
    e["pid"] = kPid;
    e["tid"] = tid;
    e["args"] = args;
    return e;
}

Json::Value nameArg(const std::string& name) {
    Json::Value args;
    args["name"] = name;
    return args;
}

Json::Value sortArg(int index) {
    Json::Value args;
    args["sort_index"] = index;
    return args;
}

void addSteps(const Timeline& timeline, Json::Value& events) {
    events.append(metadata("thread_name", kStepsTid, nameArg("session steps")));
    events.append(metadata("thread_sort_index", kStepsTid, sortArg(0)));
    for (const auto& entry : timeline.entries) {
        Json::Value e = event("i", entry.step, kStepsTid, entry.timeUs);
        e["s"] = "t";
        if (entry.scriptLine > 0)
            e["args"]["script line"] = entry.scriptLine;
        for (const auto& note : entry.notes)
            e["args"]["notes"].append(note);
        events.append(e);
    }
}

void addLocks(const Picture& picture, Json::Value& events) {
    for (const auto& bar : picture.bars) {
        int tid = kFirstLockTid + bar.handle;
        std::string name = "lock " + std::to_string(bar.handle);
        events.append(metadata("thread_name", tid, nameArg(name + ": " + bar.origin)));
        events.append(metadata("thread_sort_index", tid, sortArg(bar.handle)));
        for (size_t i = 0; i < bar.contents.size(); ++i) {
            int64_t start = bar.contents[i].first;
            int64_t end = i + 1 < bar.contents.size() ? bar.contents[i + 1].first : bar.endUs;
            Json::Value e = event("X", i == 0 ? name : name + " re-issued", tid, start);
            e["dur"] = static_cast<Json::Int64>(end - start);
            Json::Value& args = e["args"];
            args["from"] = bar.origin;
            args["duration_ms"] = bar.durationMs;
            args["ended"] = bar.ending;
            for (const auto& v : bar.contents[i].second)
                args["resources"][v.name] = v.value;
            events.append(e);
        }
    }
}

void addCounter(const StepSeries& series, int64_t endUs, Json::Value& events) {
    for (const auto& [time, value] : series.points) {
        Json::Value e = event("C", series.label, 0, time);
        e["args"]["value"] = value.value_or(0);
        events.append(e);
    }
    Json::Value last = event("C", series.label, 0, endUs);
    last["args"]["value"] = series.points.back().second.value_or(0);
    events.append(last);
}

}  // namespace

std::string chromeTrace(const Timeline& timeline, const Picture& picture) {
    Json::Value root;
    Json::Value& events = root["traceEvents"];
    events = Json::Value(Json::arrayValue);
    events.append(metadata("process_name", 0, nameArg("qvnperfctl " + timeline.sessionPath)));
    addSteps(timeline, events);
    addLocks(picture, events);
    for (const auto& series : picture.cpuFloors)
        addCounter(series, picture.endUs, events);
    addCounter(picture.dram, picture.endUs, events);
    root["displayTimeUnit"] = "ms";
    root["otherData"]["session"] = timeline.sessionPath;
    root["otherData"]["description"] = timeline.description;

    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, root) + "\n";
}

}  // namespace qvnperfctl
