// Our stand-in for the platform's C2PS controller: it keeps and logs the last record.

#define LOG_TAG "C2PSMachine"

#include "C2PSMachine.h"

#include <cstring>

#include "CamLog.h"
#include "qvncam/platform/C2PSRecord.h"

namespace qvncam {
namespace platform {

C2PSInitRecord& c2psInitRecord() {
    static C2PSInitRecord* const record = new C2PSInitRecord;
    return *record;
}

}  // namespace platform
}  // namespace qvncam

int C2PSMachine::init(const C2PSInitParams& params) {
    {
        qvncam::platform::C2PSInitRecord& last = qvncam::platform::c2psInitRecord();
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
