// SPDX-License-Identifier: Apache-2.0
#pragma once

// Scriptable customisation library ("libcameracustom.so" built from CustomDouble.cpp).
// Variants (each in its own directory, see Doubles.cmake): complete (all four entries),
// CPU-query only, and without the runtime entry (enter, config and query). Every variant
// exports its script and record (customdbl_shared); the test reaches the copy the
// controller loaded through customdbl::api(), which loads it by the bare name if nobody
// has yet. C callers may set a per-thread mask through customdbl_set_query_mask_for.
//
// Answers, per entry (CUSTOMDBL_ENTER, CUSTOMDBL_CONFIG, CUSTOMDBL_RUNTIME), used for every
// call until changed; reset() restores the defaults in brackets:
//   result             what the entry returns [true]
//   timeout            written to the entry's timeout argument on every call [0]
//   out cmds           name -> value pairs assigned into the entry's output map [none]
//   overwrite cmds     (runtime only) pairs assigned into overwrite.enterCamCmds
//                      (CUSTOMDBL_OVERWRITE_ENTER) or overwrite.configCamCmds
//                      (CUSTOMDBL_OVERWRITE_CONFIG) [none]
// The outputs are written whatever the result, so a test can check that a false result
// throws them away. queryAppropriateCPU answers the mask set for the thread's name if
// there is one, else the default mask [-1].
//
// Records, per entry including CUSTOMDBL_QUERY: how often it was called, the params of the
// last call, the last configuration / metadata pointer, the last thread name ("" for a
// null name) and scene. An entry number out of range is the test's mistake and throws.

#include <dlfcn.h>

#include <array>
#include <map>
#include <mutex>
#include <string>

#include "PerfCtrlCustom.h"

enum CustomDoubleEntry { CUSTOMDBL_ENTER, CUSTOMDBL_CONFIG, CUSTOMDBL_RUNTIME, CUSTOMDBL_QUERY };
enum CustomDoubleOverwrite { CUSTOMDBL_OVERWRITE_ENTER, CUSTOMDBL_OVERWRITE_CONFIG };

namespace customdbl {

using Params = NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams;
using Cmds = std::map<std::string, int>;

struct Answer {
    bool result = true;
    unsigned int timeout = 0;
    Cmds outCmds;
};

struct State {
    std::array<Answer, 3> answers;
    std::array<Cmds, 2> overwrite;
    int queryMask = -1;
    Cmds queryMaskByName;

    std::array<int, 4> calls{};
    std::array<Params, 4> lastParams;
    const qcam::StreamConfiguration* lastConfig = nullptr;
    const NSCam::IMetadata* lastMetadata = nullptr;
    std::string lastThreadName;
    int lastScene = 0;
};

// One per loaded library; every access holds the mutex.
struct Shared {
    std::mutex mutex;
    State state;
};

class Api {
  public:
    explicit Api(Shared* shared) : mShared(shared) {}

    void reset() const { locked().s = State(); }
    void setResult(int entry, bool result) const { locked().s.answers.at(entry).result = result; }
    void setTimeout(int entry, unsigned int ms) const { locked().s.answers.at(entry).timeout = ms; }
    void setOutCmd(int entry, const char* name, int value) const {
        locked().s.answers.at(entry).outCmds[name] = value;
    }
    void clearOutCmds(int entry) const { locked().s.answers.at(entry).outCmds.clear(); }
    void setOverwriteCmd(int which, const char* name, int value) const {
        locked().s.overwrite.at(which)[name] = value;
    }
    void clearOverwriteCmds() const { locked().s.overwrite = {}; }
    void setQueryMask(int mask) const { locked().s.queryMask = mask; }
    void setQueryMaskFor(const char* name, int mask) const {
        locked().s.queryMaskByName[name] = mask;
    }

    int callCount(int entry) const { return locked().s.calls.at(entry); }
    Params lastParams(int entry) const { return locked().s.lastParams.at(entry); }
    const qcam::StreamConfiguration* lastConfig() const { return locked().s.lastConfig; }
    const NSCam::IMetadata* lastMetadata() const { return locked().s.lastMetadata; }

    // The state, locked while the returned object lives.
    struct Locked {
        std::unique_lock<std::mutex> hold;
        State& s;
    };
    Locked locked() const {
        return Locked{std::unique_lock<std::mutex>(mShared->mutex), mShared->state};
    }

  private:
    Shared* mShared;
};

}  // namespace customdbl

extern "C" {
customdbl::Shared* customdbl_shared();
void customdbl_set_query_mask_for(const char* threadName, int mask);
}

namespace customdbl {

// The scripting API of the loaded customisation double, or null when none can be found.
inline const Api* api() {
    static const Api* const cached = []() -> const Api* {
        void* lib = dlopen("libcameracustom.so", RTLD_NOW);
        auto shared = reinterpret_cast<decltype(&customdbl_shared)>(
            lib != nullptr ? dlsym(lib, "customdbl_shared") : nullptr);
        return shared != nullptr ? new Api(shared()) : nullptr;
    }();
    return cached;
}

inline bool available() {
    return api() != nullptr;
}
inline Params lastParams(CustomDoubleEntry entry) {
    return api()->lastParams(entry);
}

struct Query {
    std::string threadName;
    int scene = 0;
};

inline Query lastQuery() {
    auto l = api()->locked();
    return Query{l.s.lastThreadName, l.s.lastScene};
}

// From the defaults, answers shaped like a device maker's: one frequency floor from each
// customisation entry, an overwrite of each held lock, `queryMask` for every thread. Does
// nothing when no double is loaded.
inline void scriptTypicalAnswers(int queryMask) {
    if (const Api* c = api()) {
        c->reset();
        c->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_CPUFREQ_MIN_CLUSTER_0", 1200000);
        c->setOutCmd(CUSTOMDBL_CONFIG, "PERF_RES_CPUFREQ_MIN_CLUSTER_1", 1000000);
        c->setOutCmd(CUSTOMDBL_RUNTIME, "PERF_RES_CPUFREQ_MIN_CLUSTER_2", 900000);
        c->setOverwriteCmd(CUSTOMDBL_OVERWRITE_ENTER, "PERF_RES_CPUFREQ_MIN_CLUSTER_1", 1100000);
        c->setOverwriteCmd(CUSTOMDBL_OVERWRITE_CONFIG, "PERF_RES_DRAM_OPP_MIN", 1);
        c->setQueryMask(queryMask);
    }
}

}  // namespace customdbl
