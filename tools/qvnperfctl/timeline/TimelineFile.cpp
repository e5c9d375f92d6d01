// SPDX-License-Identifier: Apache-2.0
#include "timeline/TimelineFile.h"

#include <json/json.h>

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qvnperfctl {
namespace {

constexpr int kFormat = 1;

const char* const kKindNames[] = {"granted", "reissued", "released",
                                  "expired", "refused",  "bad_release"};

Json::Value values(const std::vector<ResourceValue>& list) {
    Json::Value out(Json::arrayValue);
    for (const auto& v : list) {
        Json::Value item(Json::arrayValue);
        item.append(v.id);
        item.append(v.value);
        item.append(v.name);
        out.append(item);
    }
    return out;
}

Json::Value strings(const std::vector<std::string>& list) {
    Json::Value out(Json::arrayValue);
    for (const auto& s : list)
        out.append(s);
    return out;
}

Json::Value handleMap(const std::map<int, std::string>& map) {
    Json::Value out(Json::objectValue);
    for (const auto& [handle, text] : map)
        out[std::to_string(handle)] = text;
    return out;
}

Json::Value locks(const std::vector<LockSummary>& list) {
    Json::Value out(Json::arrayValue);
    for (const auto& lock : list) {
        Json::Value l;
        l["handle"] = lock.handle;
        l["origin"] = lock.origin;
        l["duration_ms"] = lock.durationMs;
        l["granted_us"] = Json::Int64{lock.grantedUs};
        l["time_left_ms"] = Json::Int64{lock.timeLeftMs};
        l["pairs"] = values(lock.pairs);
        out.append(l);
    }
    return out;
}

Json::Value counters(const QvnPerfCounters& c) {
    Json::Value out;
    out["granted"] = Json::UInt64{c.granted};
    out["reissued"] = Json::UInt64{c.reissued};
    out["released"] = Json::UInt64{c.released};
    out["expired"] = Json::UInt64{c.expired};
    out["released_after_expiry"] = Json::UInt64{c.released_after_expiry};
    out["refused"] = Json::UInt64{c.refused};
    out["bad_releases"] = Json::UInt64{c.bad_releases};
    out["live"] = Json::UInt64{c.live};
    out["events_dropped"] = Json::UInt64{c.events_dropped};
    return out;
}

// Reading: any member of the wrong type throws, and the reader turns that into "not a
// timeline" instead of filling half a record.
struct Bad : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// jsoncpp converts freely between kinds (a number "is convertible" to text): check the
// kind itself.
const Json::Value& member(const Json::Value& object, const char* name,
                          bool (Json::Value::*is)() const) {
    if (!object.isObject())
        throw Bad("an object was expected");
    const Json::Value& v = object[name];
    if (!(v.*is)())
        throw Bad(std::string("bad or missing \"") + name + "\"");
    return v;
}

std::string text(const Json::Value& o, const char* name) {
    return member(o, name, &Json::Value::isString).asString();
}
int64_t int64(const Json::Value& o, const char* name) {
    return member(o, name, &Json::Value::isInt64).asInt64();
}
int int32(const Json::Value& o, const char* name) {
    return member(o, name, &Json::Value::isInt).asInt();
}
uint64_t uint64(const Json::Value& o, const char* name) {
    return member(o, name, &Json::Value::isUInt64).asUInt64();
}
bool flag(const Json::Value& o, const char* name) {
    return member(o, name, &Json::Value::isBool).asBool();
}

std::vector<ResourceValue> readValues(const Json::Value& list) {
    if (!list.isArray())
        throw Bad("a list of values was expected");
    std::vector<ResourceValue> out;
    for (const auto& item : list) {
        if (!item.isArray() || item.size() != 3 || !item[0].isInt() || !item[1].isInt() ||
            !item[2].isString())
            throw Bad("a value is not [id, value, name]");
        out.push_back({item[0].asInt(), item[1].asInt(), item[2].asString()});
    }
    return out;
}

std::vector<std::string> readStrings(const Json::Value& list) {
    if (!list.isArray())
        throw Bad("a list of texts was expected");
    std::vector<std::string> out;
    for (const auto& s : list) {
        if (!s.isString())
            throw Bad("a list of texts was expected");
        out.push_back(s.asString());
    }
    return out;
}

std::map<int, std::string> readHandleMap(const Json::Value& object) {
    if (!object.isObject())
        throw Bad("a map of locks was expected");
    std::map<int, std::string> out;
    for (const auto& name : object.getMemberNames()) {
        size_t used = 0;
        int handle = 0;
        try {
            handle = std::stoi(name, &used);
        } catch (const std::exception&) {
            used = 0;
        }
        if (used == 0 || used != name.size() || !object[name].isString())
            throw Bad("bad lock \"" + name + "\"");
        out[handle] = object[name].asString();
    }
    return out;
}

std::vector<LockSummary> readLocks(const Json::Value& list) {
    if (!list.isArray())
        throw Bad("a list of locks was expected");
    std::vector<LockSummary> out;
    for (const auto& l : list) {
        out.push_back({int32(l, "handle"), text(l, "origin"), int32(l, "duration_ms"),
                       int64(l, "granted_us"), int64(l, "time_left_ms"), readValues(l["pairs"])});
    }
    return out;
}

LockEvent readEvent(const Json::Value& e) {
    LockEvent event;
    const std::string kind = text(e, "kind");
    size_t k = 0;
    while (k < std::size(kKindNames) && kind != kKindNames[k])
        ++k;
    if (k == std::size(kKindNames))
        throw Bad("unknown event kind \"" + kind + "\"");
    event.kind = static_cast<LockEventKind>(k);
    event.handle = int32(e, "handle");
    event.durationMs = int32(e, "duration_ms");
    event.timeUs = int64(e, "time_us");
    event.afterExpiry = flag(e, "after_expiry");
    event.reason = text(e, "reason");
    event.pairs = readValues(e["pairs"]);
    event.lockPairs = readValues(e["lock_pairs"]);
    return event;
}

Entry readEntry(const Json::Value& e) {
    Entry entry;
    entry.timeUs = int64(e, "time_us");
    entry.step = text(e, "step");
    entry.scriptLine = int32(e, "line");
    entry.perRequest = flag(e, "per_request");
    entry.notes = readStrings(e["notes"]);
    entry.marks = readStrings(e["marks"]);
    if (!e["events"].isArray())
        throw Bad("bad \"events\"");
    for (const auto& event : e["events"])
        entry.events.push_back(readEvent(event));
    entry.effective =
        std::make_shared<const std::vector<ResourceValue>>(readValues(e["effective"]));
    return entry;
}

void readTimeline(const Json::Value& root, Timeline& t) {
    if (int32(root, "format") != kFormat)
        throw Bad("unknown format");
    t.sessionPath = text(root, "session");
    t.description = text(root, "description");
    const Json::Value& setup = root["setup"];
    if (!setup.isArray())
        throw Bad("bad \"setup\"");
    for (const auto& item : setup) {
        auto pair = readStrings(item);
        if (pair.size() != 2)
            throw Bad("bad \"setup\"");
        t.setup.emplace_back(pair[0], pair[1]);
    }
    if (!root["entries"].isArray())
        throw Bad("bad \"entries\"");
    for (const auto& e : root["entries"])
        t.entries.push_back(readEntry(e));
    t.lockOrigin = readHandleMap(root["lock_origin"]);
    t.lockRole = readHandleMap(root["lock_role"]);
    t.endUs = int64(root, "end_us");
    const Json::Value& c = root["counters"];
    t.counters.granted = uint64(c, "granted");
    t.counters.reissued = uint64(c, "reissued");
    t.counters.released = uint64(c, "released");
    t.counters.expired = uint64(c, "expired");
    t.counters.released_after_expiry = uint64(c, "released_after_expiry");
    t.counters.refused = uint64(c, "refused");
    t.counters.bad_releases = uint64(c, "bad_releases");
    t.counters.live = uint64(c, "live");
    t.counters.events_dropped = uint64(c, "events_dropped");
    t.leaks = readLocks(root["leaks"]);
    t.stillTimed = readLocks(root["still_timed"]);
}

}  // namespace

std::string timelineFileText(const Timeline& t) {
    Json::Value root;
    root["format"] = kFormat;
    root["session"] = t.sessionPath;
    root["description"] = t.description;
    root["setup"] = Json::Value(Json::arrayValue);
    for (const auto& [label, value] : t.setup)
        root["setup"].append(strings({label, value}));
    root["entries"] = Json::Value(Json::arrayValue);
    for (const auto& e : t.entries) {
        Json::Value entry;
        entry["time_us"] = Json::Int64{e.timeUs};
        entry["step"] = e.step;
        entry["line"] = e.scriptLine;
        entry["per_request"] = e.perRequest;
        entry["notes"] = strings(e.notes);
        entry["marks"] = strings(e.marks);
        entry["events"] = Json::Value(Json::arrayValue);
        for (const auto& ev : e.events) {
            Json::Value event;
            event["kind"] = kKindNames[static_cast<int>(ev.kind)];
            event["handle"] = ev.handle;
            event["duration_ms"] = ev.durationMs;
            event["time_us"] = Json::Int64{ev.timeUs};
            event["after_expiry"] = ev.afterExpiry;
            event["reason"] = ev.reason;
            event["pairs"] = values(ev.pairs);
            event["lock_pairs"] = values(ev.lockPairs);
            entry["events"].append(event);
        }
        entry["effective"] = values(*e.effective);
        root["entries"].append(entry);
    }
    root["lock_origin"] = handleMap(t.lockOrigin);
    root["lock_role"] = handleMap(t.lockRole);
    root["end_us"] = Json::Int64{t.endUs};
    root["counters"] = counters(t.counters);
    root["leaks"] = locks(t.leaks);
    root["still_timed"] = locks(t.stillTimed);

    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, root) + "\n";
}

bool readTimelineFile(const std::string& path, Timeline& out, std::string& error) {
    std::ifstream in(path);
    if (!in) {
        error = "cannot read " + path;
        return false;
    }
    Json::Value root;
    std::string parseErrors;
    if (!Json::parseFromStream(Json::CharReaderBuilder(), in, &root, &parseErrors)) {
        error = path + ": not valid JSON: " + parseErrors;
        return false;
    }
    Timeline t;
    try {
        readTimeline(root, t);
    } catch (const std::exception& e) {
        error = path + ": not a timeline: " + e.what();
        return false;
    }
    out = std::move(t);
    return true;
}

}  // namespace qvnperfctl
