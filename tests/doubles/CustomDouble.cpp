// SPDX-License-Identifier: Apache-2.0
// Scriptable customisation library. The CUSTOMDBL_HAVE_* switches choose which of the
// four entries a variant exports.

#include "CustomDouble.h"

using NSCam::NSCamFeature::NSCamPerfCtrl::CustomOutCmds;
using NSCam::NSCamFeature::NSCamPerfCtrl::OverwriteCPUControls;

namespace {

// Built on first use; goes with the library.
customdbl::Shared* shared() {
    static customdbl::Shared s;
    return &s;
}

customdbl::Api::Locked locked() {
    return customdbl::Api(shared()).locked();
}

[[maybe_unused]] void assign(CustomOutCmds& to, const customdbl::Cmds& from) {
    for (const auto& kv : from) {
        to[kv.first] = kv.second;
    }
}

// Records the call and writes the scripted outputs; returns the scripted result.
[[maybe_unused]] bool answer(customdbl::State& s, int entry, const customdbl::Params& params,
                             CustomOutCmds& cmds, unsigned int& timeout) {
    s.calls[entry]++;
    s.lastParams[entry] = params;
    assign(cmds, s.answers[entry].outCmds);
    timeout = s.answers[entry].timeout;
    return s.answers[entry].result;
}

}  // namespace

// Only the entries below leave the library.
#pragma GCC visibility push(default)
extern "C" {

#ifdef CUSTOMDBL_HAVE_ENTER
bool customizeEnterCameraPerf(const customdbl::Params& params, CustomOutCmds& cmds,
                              unsigned int& timeout) {
    return answer(locked().s, CUSTOMDBL_ENTER, params, cmds, timeout);
}
#endif

#ifdef CUSTOMDBL_HAVE_CONFIG
bool customizeConfigTimeCPUCtrl(const qcam::StreamConfiguration& config,
                                const customdbl::Params& params, CustomOutCmds& cmds,
                                unsigned int& timeout) {
    auto l = locked();
    l.s.lastConfig = &config;
    return answer(l.s, CUSTOMDBL_CONFIG, params, cmds, timeout);
}
#endif

#ifdef CUSTOMDBL_HAVE_RUNTIME
bool customizeRuntimeCPUCtrl(const NSCam::IMetadata* request, const customdbl::Params& params,
                             CustomOutCmds& cmds, unsigned int& timeout,
                             OverwriteCPUControls& overwrite) {
    auto l = locked();
    l.s.lastMetadata = request;
    assign(overwrite.enterCamCmds, l.s.overwrite[CUSTOMDBL_OVERWRITE_ENTER]);
    assign(overwrite.configCamCmds, l.s.overwrite[CUSTOMDBL_OVERWRITE_CONFIG]);
    return answer(l.s, CUSTOMDBL_RUNTIME, params, cmds, timeout);
}
#endif

#ifdef CUSTOMDBL_HAVE_QUERY
int queryAppropriateCPU(const char* threadName, int scene) {
    auto l = locked();
    l.s.calls[CUSTOMDBL_QUERY]++;
    l.s.lastThreadName = threadName != nullptr ? threadName : "";
    l.s.lastScene = scene;
    auto it = l.s.queryMaskByName.find(l.s.lastThreadName);
    return it != l.s.queryMaskByName.end() ? it->second : l.s.queryMask;
}
#endif

customdbl::Shared* customdbl_shared() {
    return shared();
}

void customdbl_set_query_mask_for(const char* threadName, int mask) {
    customdbl::Api(shared()).setQueryMaskFor(threadName, mask);
}

}  // extern "C"
#pragma GCC visibility pop
