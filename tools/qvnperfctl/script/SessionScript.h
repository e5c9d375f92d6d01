// SPDX-License-Identifier: Apache-2.0
#pragma once

// Session scripts: a camera session as a JSON list of steps that the simulator plays
// through the controller.
//
//   {
//     "description": "...",                      optional
//     "properties": { "NAME": "VALUE", ... },    optional, set before the library loads
//     "steps": [ { "op": "open", "boost_ms": 300 }, ... ]
//   }
//
// Steps ("op" and its members; times in milliseconds):
//   open       boost_ms                          enterPerfCtrl_EnterCamera(boost_ms)
//   configure  streams [ {type, width, height, usage, format} ], fps [min, max],
//              operation_mode                    enterPerfCtrl_ConfigureStream
//   requests   count, interval_ms, complete_after, first, metadata
//                                                enterPerfCtrl_InflightRequest for each,
//                                                notifyRequestDone complete_after frames later
//   boost      level (0-3 or "default"), timeout_ms, release_after_ms
//                                                runPerfBoost / runDefaultBoost
//   affinity   thread                            a thread of that name calls queryAffinity
//                                                and setAffinity
//   eas        tid ("self" or a number), flags, release_after_ms
//                                                enablePerTaskEASControl
//   prop       name, value                       sets a property
//   wait       ms
//   close                                        drops every holder and operator
//   dump                                         qvncam_perfctrl_dump() beside the power
//                                                service's live locks

#include <IMetadata.h>
#include <StreamConfiguration.h>

#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace qvnperfctl {

class JsonSource;

struct OpenStep {
    int boostMs = 0;
};

struct ConfigureStep {
    qcam::StreamConfiguration config;
    std::optional<std::pair<int, int>> fps;
};

struct RequestsStep {
    int count = 1;
    int intervalMs = 33;
    int completeAfter = 3;  // frames between a request and its completion
    int first = 0;  // number of the first; where the script has none, the one after the last
                    // of the step before
    std::vector<NSCam::IMetadata> metadata;   // request i gets metadata[i % size]
    std::vector<std::string> metadataLabels;  // short description of each, for the timeline
};

struct BoostStep {
    bool defaultBoost = false;  // runDefaultBoost instead of runPerfBoost(level)
    int level = 0;
    int timeoutMs = 0;
    std::optional<int> releaseAfterMs;  // else left to expire (or held until close when 0)
};

struct AffinityStep {
    std::string thread;
};

struct EasStep {
    std::optional<int> tid;  // empty: the simulator's own thread
    int flags = 0;
    std::optional<int> releaseAfterMs;  // else held until close
};

struct PropStep {
    std::string name;
    std::string value;
};

struct WaitStep {
    int ms = 0;
};

struct CloseStep {};

struct DumpStep {};

using StepAction = std::variant<OpenStep, ConfigureStep, RequestsStep, BoostStep, AffinityStep,
                                EasStep, PropStep, WaitStep, CloseStep, DumpStep>;

struct Step {
    int line = 0;
    StepAction action;
};

struct Session {
    std::string path;
    std::string description;
    std::vector<std::pair<std::string, std::string>> properties;
    std::vector<Step> steps;
};

struct ScriptError {
    int line;
    std::string message;
};

// Reads a parsed script; returns the problems found, each with its line (empty: ok).
std::vector<ScriptError> parseSession(const JsonSource& source, Session& out);

}  // namespace qvnperfctl
