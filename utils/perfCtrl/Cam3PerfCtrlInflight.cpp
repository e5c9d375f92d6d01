// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Cam3PerfCtrl"

#include "Cam3PerfCtrlInternal.h"
#include "CamLog.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

// Lays overwrite commands on a held lock. The pipeline must pass the operator whenever its
// customisation can ask for overwrites; a missing one is reported instead of dereferenced.
void overwriteOn(PerfOperatorImp* op, const char* which, std::vector<int> cmds) {
    if (op == nullptr) {
        CAM_LOGE("No %s operator to overwrite", which);
        return;
    }
    op->perform_extra(std::move(cmds));
}

}  // namespace

std::shared_ptr<InflightOperatorHolderImp> Cam3PerfCtrlImp::enterPerfCtrl_InflightRequest(
    const int& reqId, const NSCam::IMetadata* metadata, PerfCtrlSet set) {
    const bool verbose = miLogLevel.load(std::memory_order_relaxed) != 0;
    if (verbose) {
        CAM_LOGD("enterPerfCtrl_InflightRequest id=%d", reqId);
    }
    if (mfnRuntimeCPUCtrl == nullptr) {
        CAM_LOGW("No custom PerfCtrl function(inflight).");
        return nullptr;
    }
    const CustomParams params{{"IS_CONFIG_TIME_KEY", "0"}};
    CustomOutCmds outCmds;
    unsigned int timeoutMs = 0;
    OverwriteCPUControls overwrite;
    if (!mfnRuntimeCPUCtrl(metadata, params, outCmds, timeoutMs, overwrite)) {
        return nullptr;
    }

    // The counts, not the lists built below, decide what happens next.
    const size_t requestCount = countOutCmdInts(outCmds);
    std::vector<int> requestList;
    requestList.reserve(requestCount);
    if (verbose) {
        CAM_LOGD("enterPerfCtrl_InflightRequest reqID=%d params:", reqId);
    }
    __processOutCmds(outCmds, requestList);

    // One step for each operator of an earlier phase that the customisation asks to overwrite.
    const auto overwritePhase = [&](const CustomOutCmds& overwriteCmds, PerfOperatorImp* op,
                                    const char* which) {
        const size_t count = countOutCmdInts(overwriteCmds);
        if (count == 0) {
            return;
        }
        std::vector<int> list;
        list.reserve(count);
        if (verbose) {
            CAM_LOGD("overwrite %s params:", which);
        }
        __processOutCmds(overwriteCmds, list);
        overwriteOn(op, which, std::move(list));
    };
    overwritePhase(overwrite.enterCamCmds, set.enterCamOperator.get(), "EnterCam");
    overwritePhase(overwrite.configCamCmds, set.configCamOperator.get(), "ConfigCam");

    std::shared_ptr<InflightOperatorHolderImp> holder =
        set.inflightHolder ? set.inflightHolder : std::make_shared<InflightOperatorHolderImp>();

    if (requestCount != 0) {
        std::unique_ptr<PerfOperatorImp> op(new PerfOperatorImp(
            std::move(requestList), static_cast<int>(timeoutMs), "inflightReq"));
        if (!op->isAlive()) {
            CAM_LOGW("Failed to create PerfOperator during %s, outSize=%lu", "inflight request",
                     static_cast<unsigned long>(requestCount));
        }
        holder->insert(reqId, std::shared_ptr<PerfOperator>(std::move(op)));
    }
    return holder;
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
