// SPDX-License-Identifier: Apache-2.0
// Customisation output maps: names (known resources, control keys or any bytes) with any
// values, turned into command lists, C2PS set-up and the affinity scene, and laid on locks
// through the configure-stream and in-flight paths.
//
// Input: records [key length][key bytes][4-byte value]; a key length below 0x40 picks a
// known name instead. What remains after the maps shapes the stream configuration.

#include <fuzzer/FuzzedDataProvider.h>

#include <memory>
#include <string>
#include <vector>

#include "../tests/common/ControllerPeer.h"
#include "FuzzSupport.h"
#include "PerfCtrlHelper.h"

namespace {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

std::vector<std::string> gNames;
CustomOutCmds gOut;
OverwriteCPUControls gOverwrite;
// A timed operator would start a trace timer thread for every input: requests stay untimed.
constexpr unsigned int kTimeout = 0;
Cam3PerfCtrlImp* gCtrl = nullptr;

bool enterFn(const CustomParams&, CustomOutCmds& cmds, unsigned int& timeout) {
    cmds = gOut;
    timeout = 0;
    return true;
}
bool configFn(const qcam::StreamConfiguration&, const CustomParams&, CustomOutCmds& cmds,
              unsigned int& timeout) {
    cmds = gOut;
    timeout = 0;
    return true;
}
bool runtimeFn(const NSCam::IMetadata*, const CustomParams&, CustomOutCmds& cmds,
               unsigned int& timeout, OverwriteCPUControls& overwrite) {
    cmds = gOut;
    timeout = kTimeout;
    overwrite = gOverwrite;
    return true;
}

void readMap(FuzzedDataProvider& in, CustomOutCmds& out, size_t maxEntries) {
    for (size_t i = 0; i < maxEntries && in.remaining_bytes() > 0; ++i) {
        const uint8_t len = in.ConsumeIntegral<uint8_t>();
        std::string key =
            len < 0x40 ? gNames[len % gNames.size()] : in.ConsumeBytesAsString(len - 0x40u);
        out[key] = in.ConsumeIntegral<int32_t>();
        if (in.ConsumeBool()) {
            break;
        }
    }
}

qcam::StreamConfiguration readConfig(FuzzedDataProvider& in) {
    qcam::StreamConfiguration config;
    const size_t streams = in.ConsumeIntegralInRange<size_t>(0, 4);
    for (size_t i = 0; i < streams; ++i) {
        qcam::Stream s;
        s.streamType = in.ConsumeIntegralInRange<int32_t>(-1, 2);
        s.width = in.ConsumeIntegral<uint32_t>();
        s.height = in.ConsumeIntegral<uint32_t>();
        s.usage = in.ConsumeIntegral<uint64_t>();
        config.streams.push_back(s);
    }
    if (in.ConsumeBool()) {
        NSCam::IMetadata::IEntry fps(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE);
        const size_t items = in.ConsumeIntegralInRange<size_t>(0, 3);
        for (size_t i = 0; i < items; ++i) {
            fps.push_back(in.ConsumeIntegral<int64_t>(), NSCam::Type2Type<int64_t>());
        }
        config.sessionParams.update(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE, fps);
    }
    return config;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    fuzzsupport::quietController();
    for (const auto& entry : PerfCtrlHelper::StringToPowerEnumMap) {
        gNames.push_back(entry.first);
    }
    for (const char* key :
         {"C2PS_FEATURE_CUSTOMIZATION", "C2PS_SCENARIO", "C2PS_DISABLE_INEFF_CPUFREQ_COMMAND",
          "C2PS_LMCORE_UM_RATIO_COMMAND", "C2PS_UM_MIN_COMMAND", "C2PS_PF_POLICY_COMMAND",
          "CAM_CPU_AFFY_SCENE", ""}) {
        gNames.push_back(key);
    }
    gCtrl = new Cam3PerfCtrlImp;
    Cam3PerfCtrlImpTestPeer::setCustomisation(*gCtrl, enterFn, configFn, runtimeFn);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    FuzzedDataProvider in(data, size);
    gOut.clear();
    gOverwrite = OverwriteCPUControls();
    readMap(in, gOut, 64);
    readMap(in, gOverwrite.enterCamCmds, 16);
    readMap(in, gOverwrite.configCamCmds, 16);
    const qcam::StreamConfiguration config = readConfig(in);

    std::vector<int> cmds;
    Cam3PerfCtrlImpTestPeer::processOutCmds(*gCtrl, gOut, cmds);
    if (cmds.size() % 2 != 0 || cmds.size() > 2 * gOut.size()) {
        __builtin_trap();  // whole pairs, at most one per entry
    }
    Cam3PerfCtrlImpTestPeer::initC2PS(*gCtrl, config, gOut);

    // The same map through the paths that turn it into locks.
    auto enter = gCtrl->enterPerfCtrl_EnterCamera(0);
    auto configHolder = gCtrl->enterPerfCtrl_ConfigureStream(config);
    PerfCtrlSet set;
    set.enterCamOperator = std::dynamic_pointer_cast<PerfOperatorImp>(enter->getPerfOperator());
    set.configCamOperator =
        std::dynamic_pointer_cast<PerfOperatorImp>(configHolder->getPerfOperator());
    auto inflight = gCtrl->enterPerfCtrl_InflightRequest(1, nullptr, set);
    if (!inflight) {
        __builtin_trap();
    }
    inflight->notifyRequestDone(1);
    gCtrl->setAffinity();
    gCtrl->queryAffinity("fuzz");
    return 0;
}
