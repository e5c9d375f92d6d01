// SPDX-License-Identifier: Apache-2.0
// The JSON configuration, as a file read by the convertor, through enter-camera and
// configure-stream: whatever the file holds, opening the camera returns its holder.

#include <cstdint>
#include <string>

#include "../tests/common/ControllerPeer.h"
#include "FuzzSupport.h"
#include "PerfCtrlProperties.h"
#include "qvncam/platform/JsonText.h"

namespace {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

// Customisation entries that answer with one known resource, so that the JSON path and the
// customisation path can both be taken.
bool enterFn(const CustomParams&, CustomOutCmds& cmds, unsigned int& timeout) {
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = 1200000;
    timeout = 0;
    return true;
}
bool configFn(const qcam::StreamConfiguration&, const CustomParams&, CustomOutCmds& cmds,
              unsigned int& timeout) {
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_1"] = 1000000;
    timeout = 0;
    return true;
}
bool runtimeFn(const NSCam::IMetadata*, const CustomParams&, CustomOutCmds&, unsigned int&,
               OverwriteCPUControls&) {
    return false;
}

Cam3PerfCtrlImp* gCtrl = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzzsupport::quietController();
    fuzzsupport::setProperty(PerfCtrlProperties::kEnableJson.name, "1");
    fuzzsupport::setProperty(qvncam::platform::kJsonConfigProperty,
                             fuzzsupport::scratchPath("json"));
    gCtrl = new Cam3PerfCtrlImp;
    Cam3PerfCtrlImpTestPeer::setCustomisation(*gCtrl, enterFn, configFn, runtimeFn);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    fuzzsupport::writeInput("json", data, size);
    auto enter = gCtrl->enterPerfCtrl_EnterCamera(0);
    if (!enter || !enter->getPerfOperator()) {
        __builtin_trap();  // the holder and its custom slot always exist
    }
    auto config = gCtrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
    if (!config) {
        __builtin_trap();
    }
    Cam3PerfCtrlImpTestPeer::forgetJson(*gCtrl);
    return 0;
}
