// Our stand-in for the platform's C2PS controller: it keeps and logs the last record.

#define LOG_TAG "C2PSMachine"

#include "C2PSMachine.h"

#include <cstring>
#include <mutex>

#include "CamLog.h"
#include "qvncam/platform/HostControl.h"

namespace {

struct LastInit {
    std::mutex mutex;
    bool received = false;
    C2PSInitParams params{};  // zero-initialised, padding included
};

// Never destroyed: init may run from another object's destructor at exit.
LastInit& lastInit() {
    static LastInit* const last = new LastInit;
    return *last;
}

}  // namespace

int C2PSMachine::init(const C2PSInitParams& params) {
    {
        LastInit& last = lastInit();
        std::lock_guard<std::mutex> lock(last.mutex);
        // Byte for byte, padding included, so that callers can check the whole layout.
        std::memcpy(&last.params, &params, sizeof(params));
        last.received = true;
    }
    CAM_LOGD(
        "init fps=%d scenario=%d featureCustomization=%d disableIneffCpufreq=%d "
        "lmcoreUmRatio=%d umMin=%d pfPolicy=%d",
        params.fps, params.scenario, params.featureCustomization,
        params.disableIneffCpufreq ? 1 : 0, params.lmcoreUmRatio, params.umMin,
        params.pfPolicy ? 1 : 0);
    return 0;
}

namespace qvncam {
namespace host {

bool lastC2PSInit(C2PSInitParams* out) {
    LastInit& last = lastInit();
    std::lock_guard<std::mutex> lock(last.mutex);
    if (last.received && out != nullptr)
        std::memcpy(out, &last.params, sizeof(*out));
    return last.received;
}

void resetC2PSInit() {
    LastInit& last = lastInit();
    std::lock_guard<std::mutex> lock(last.mutex);
    last.received = false;
    std::memset(&last.params, 0, sizeof(last.params));
}

}  // namespace host
}  // namespace qvncam
