#pragma once

// Scriptable customisation library ("libcameracustom.so" built from CustomDouble.cpp).
// Variants (each in its own directory, see Doubles.cmake): complete (all four entries),
// CPU-query only, and without the runtime entry (enter, config and query). Every variant
// exports the scripting functions below; the test reaches the copy the controller loaded
// through customdbl::api(), which loads it by the bare name if nobody has yet.
//
// Answers, per entry (CUSTOMDBL_ENTER, CUSTOMDBL_CONFIG, CUSTOMDBL_RUNTIME), used for every
// call until changed; customdbl_reset() restores the defaults in brackets:
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
// last call, the last configuration / metadata pointer, the last thread name and scene.

#include <dlfcn.h>

#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "PerfCtrlCustom.h"

enum CustomDoubleEntry {
    CUSTOMDBL_ENTER = 0,
    CUSTOMDBL_CONFIG = 1,
    CUSTOMDBL_RUNTIME = 2,
    CUSTOMDBL_QUERY = 3,
};

enum CustomDoubleOverwrite {
    CUSTOMDBL_OVERWRITE_ENTER = 0,
    CUSTOMDBL_OVERWRITE_CONFIG = 1,
};

extern "C" {
void customdbl_reset(void);
void customdbl_set_result(int entry, bool result);
void customdbl_set_timeout(int entry, unsigned int timeoutMs);
void customdbl_set_out_cmd(int entry, const char* name, int value);
void customdbl_clear_out_cmds(int entry);
void customdbl_set_overwrite_cmd(int which, const char* name, int value);
void customdbl_clear_overwrite_cmds(void);
void customdbl_set_query_mask(int mask);
void customdbl_set_query_mask_for(const char* threadName, int mask);

int customdbl_call_count(int entry);
void customdbl_get_last_params(int entry, NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams* out);
const qcam::StreamConfiguration* customdbl_last_config(void);
const NSCam::IMetadata* customdbl_last_metadata(void);
// Name (empty for a null name) and scene of the last queryAppropriateCPU call.
void customdbl_get_last_query(std::string* threadName, int* scene);
}

namespace customdbl {

struct Api {
    decltype(&customdbl_reset) reset = nullptr;
    decltype(&customdbl_set_result) setResult = nullptr;
    decltype(&customdbl_set_timeout) setTimeout = nullptr;
    decltype(&customdbl_set_out_cmd) setOutCmd = nullptr;
    decltype(&customdbl_clear_out_cmds) clearOutCmds = nullptr;
    decltype(&customdbl_set_overwrite_cmd) setOverwriteCmd = nullptr;
    decltype(&customdbl_clear_overwrite_cmds) clearOverwriteCmds = nullptr;
    decltype(&customdbl_set_query_mask) setQueryMask = nullptr;
    decltype(&customdbl_set_query_mask_for) setQueryMaskFor = nullptr;
    decltype(&customdbl_call_count) callCount = nullptr;
    decltype(&customdbl_get_last_params) getLastParams = nullptr;
    decltype(&customdbl_last_config) lastConfig = nullptr;
    decltype(&customdbl_last_metadata) lastMetadata = nullptr;
    decltype(&customdbl_get_last_query) getLastQuery = nullptr;
};

// The scripting API of the loaded customisation double, or null when none can be found.
inline const Api* api() {
    static const Api* cached = nullptr;
    if (cached != nullptr) {
        return cached;
    }
    void* lib = dlopen("libcameracustom.so", RTLD_NOW | RTLD_NOLOAD);
    if (lib == nullptr) {
        lib = dlopen("libcameracustom.so", RTLD_NOW);
    }
    if (lib == nullptr) {
        return nullptr;
    }
    static Api a;
    auto sym = [lib](auto& fn, const char* name) {
        fn = reinterpret_cast<std::remove_reference_t<decltype(fn)>>(dlsym(lib, name));
        return fn != nullptr;
    };
    bool ok = sym(a.reset, "customdbl_reset") && sym(a.setResult, "customdbl_set_result") &&
              sym(a.setTimeout, "customdbl_set_timeout") &&
              sym(a.setOutCmd, "customdbl_set_out_cmd") &&
              sym(a.clearOutCmds, "customdbl_clear_out_cmds") &&
              sym(a.setOverwriteCmd, "customdbl_set_overwrite_cmd") &&
              sym(a.clearOverwriteCmds, "customdbl_clear_overwrite_cmds") &&
              sym(a.setQueryMask, "customdbl_set_query_mask") &&
              sym(a.setQueryMaskFor, "customdbl_set_query_mask_for") &&
              sym(a.callCount, "customdbl_call_count") &&
              sym(a.getLastParams, "customdbl_get_last_params") &&
              sym(a.lastConfig, "customdbl_last_config") &&
              sym(a.lastMetadata, "customdbl_last_metadata") &&
              sym(a.getLastQuery, "customdbl_get_last_query");
    if (!ok) {
        return nullptr;
    }
    cached = &a;
    return cached;
}

inline bool available() {
    return api() != nullptr;
}

inline NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams lastParams(CustomDoubleEntry entry) {
    NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams out;
    api()->getLastParams(entry, &out);
    return out;
}

struct Query {
    std::string threadName;
    int scene = 0;
};

inline Query lastQuery() {
    Query q;
    api()->getLastQuery(&q.threadName, &q.scene);
    return q;
}

}  // namespace customdbl
