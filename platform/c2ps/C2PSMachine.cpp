// SPDX-License-Identifier: Apache-2.0
// Our stand-in for the platform's C2PS controller: it logs the record and hands it to
// the host controls when they are linked.

#define LOG_TAG "C2PSMachine"

#include "C2PSMachine.h"

#include "C2PSObserver.h"
#include "CamLog.h"

int C2PSMachine::init(const C2PSInitParams& params) {
    if (qvncam::platform::observeC2PSInit != nullptr)
        qvncam::platform::observeC2PSInit(params);
    CAM_LOGD(
        "init fps=%d scenario=%d featureCustomization=%d disableIneffCpufreq=%d "
        "lmcoreUmRatio=%d umMin=%d pfPolicy=%d",
        params.fps, params.scenario, params.featureCustomization,
        params.disableIneffCpufreq ? 1 : 0, params.lmcoreUmRatio, params.umMin,
        params.pfPolicy ? 1 : 0);
    return 0;
}
