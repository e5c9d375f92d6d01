// Scriptable customisation library. The CUSTOMDBL_HAVE_* switches choose which of the
// four entries a variant exports.

#include "CustomDouble.h"

#include <map>
#include <mutex>
#include <string>
#include <unordered_map>

using NSCam::NSCamFeature::NSCamPerfCtrl::CustomOutCmds;
using NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams;
using NSCam::NSCamFeature::NSCamPerfCtrl::OverwriteCPUControls;

namespace {

struct Answer {
    bool result = true;
    unsigned int timeout = 0;
    std::map<std::string, int> outCmds;
};

struct State {
    std::mutex lock;
    Answer answers[3];
    std::map<std::string, int> overwrite[2];
    int queryMask = -1;
    std::map<std::string, int> queryMaskByName;

    int calls[4] = {0, 0, 0, 0};
    CustomParams lastParams[3];
    const qcam::StreamConfiguration* lastConfig = nullptr;
    const NSCam::IMetadata* lastMetadata = nullptr;
    std::string lastThreadName;
    int lastScene = 0;
};

State& state() {
    static State s;
    return s;
}

bool validAnswer(int entry) {
    return entry >= CUSTOMDBL_ENTER && entry <= CUSTOMDBL_RUNTIME;
}

// Records the call and writes the scripted outputs; returns the scripted result.
[[maybe_unused]] bool answer(State& s, int entry, const CustomParams& params, CustomOutCmds& cmds,
                             unsigned int& timeout) {
    s.calls[entry]++;
    s.lastParams[entry] = params;
    const Answer& a = s.answers[entry];
    for (const auto& kv : a.outCmds) {
        cmds[kv.first] = kv.second;
    }
    timeout = a.timeout;
    return a.result;
}

}  // namespace

// Only the entries below leave the library.
#pragma GCC visibility push(default)
extern "C" {

#ifdef CUSTOMDBL_HAVE_ENTER
bool customizeEnterCameraPerf(const CustomParams& params, CustomOutCmds& cmds,
                              unsigned int& timeout) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    return answer(s, CUSTOMDBL_ENTER, params, cmds, timeout);
}
#endif

#ifdef CUSTOMDBL_HAVE_CONFIG
bool customizeConfigTimeCPUCtrl(const qcam::StreamConfiguration& config, const CustomParams& params,
                                CustomOutCmds& cmds, unsigned int& timeout) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    s.lastConfig = &config;
    return answer(s, CUSTOMDBL_CONFIG, params, cmds, timeout);
}
#endif

#ifdef CUSTOMDBL_HAVE_RUNTIME
bool customizeRuntimeCPUCtrl(const NSCam::IMetadata* request, const CustomParams& params,
                             CustomOutCmds& cmds, unsigned int& timeout,
                             OverwriteCPUControls& overwrite) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    s.lastMetadata = request;
    for (const auto& kv : s.overwrite[CUSTOMDBL_OVERWRITE_ENTER]) {
        overwrite.enterCamCmds[kv.first] = kv.second;
    }
    for (const auto& kv : s.overwrite[CUSTOMDBL_OVERWRITE_CONFIG]) {
        overwrite.configCamCmds[kv.first] = kv.second;
    }
    return answer(s, CUSTOMDBL_RUNTIME, params, cmds, timeout);
}
#endif

#ifdef CUSTOMDBL_HAVE_QUERY
int queryAppropriateCPU(const char* threadName, int scene) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    s.calls[CUSTOMDBL_QUERY]++;
    s.lastThreadName = threadName != nullptr ? threadName : "";
    s.lastScene = scene;
    auto it = s.queryMaskByName.find(s.lastThreadName);
    return it != s.queryMaskByName.end() ? it->second : s.queryMask;
}
#endif

void customdbl_reset(void) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    for (Answer& a : s.answers) {
        a = Answer();
    }
    s.overwrite[0].clear();
    s.overwrite[1].clear();
    s.queryMask = -1;
    s.queryMaskByName.clear();
    for (int& c : s.calls) {
        c = 0;
    }
    for (CustomParams& p : s.lastParams) {
        p.clear();
    }
    s.lastConfig = nullptr;
    s.lastMetadata = nullptr;
    s.lastThreadName.clear();
    s.lastScene = 0;
}

void customdbl_set_result(int entry, bool result) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (validAnswer(entry))
        s.answers[entry].result = result;
}

void customdbl_set_timeout(int entry, unsigned int timeoutMs) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (validAnswer(entry))
        s.answers[entry].timeout = timeoutMs;
}

void customdbl_set_out_cmd(int entry, const char* name, int value) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (validAnswer(entry) && name != nullptr)
        s.answers[entry].outCmds[name] = value;
}

void customdbl_clear_out_cmds(int entry) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (validAnswer(entry))
        s.answers[entry].outCmds.clear();
}

void customdbl_set_overwrite_cmd(int which, const char* name, int value) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if ((which == CUSTOMDBL_OVERWRITE_ENTER || which == CUSTOMDBL_OVERWRITE_CONFIG) &&
        name != nullptr) {
        s.overwrite[which][name] = value;
    }
}

void customdbl_clear_overwrite_cmds(void) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    s.overwrite[0].clear();
    s.overwrite[1].clear();
}

void customdbl_set_query_mask(int mask) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    s.queryMask = mask;
}

void customdbl_set_query_mask_for(const char* threadName, int mask) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (threadName != nullptr)
        s.queryMaskByName[threadName] = mask;
}

int customdbl_call_count(int entry) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    return entry >= CUSTOMDBL_ENTER && entry <= CUSTOMDBL_QUERY ? s.calls[entry] : 0;
}

void customdbl_get_last_params(int entry, CustomParams* out) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (out != nullptr) {
        *out = validAnswer(entry) ? s.lastParams[entry] : CustomParams();
    }
}

const qcam::StreamConfiguration* customdbl_last_config(void) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    return s.lastConfig;
}

const NSCam::IMetadata* customdbl_last_metadata(void) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    return s.lastMetadata;
}

void customdbl_get_last_query(std::string* threadName, int* scene) {
    State& s = state();
    std::lock_guard<std::mutex> g(s.lock);
    if (threadName != nullptr)
        *threadName = s.lastThreadName;
    if (scene != nullptr)
        *scene = s.lastScene;
}

}  // extern "C"
#pragma GCC visibility pop
