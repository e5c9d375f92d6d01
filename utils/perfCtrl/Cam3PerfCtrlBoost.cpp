// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Cam3PerfCtrl"

#include <unistd.h>

#include <algorithm>
#include <string>

#include "Cam3PerfCtrlInternal.h"
#include "CamLog.h"
#include "PerfCtrlHelper.h"
#include "PerfCtrlProperties.h"
#include "PowerResourceIds.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

std::unique_ptr<PerfOperator> Cam3PerfCtrlImp::runDefaultBoost(unsigned int timeoutMs) {
    std::unique_ptr<PerfOperator> result;
    const std::string userStr = "runDefaultBoost-" + std::to_string(gettid());
    if (miLogLevel.load(std::memory_order_relaxed) != 0) {
        CAM_LOGD("%s timeout=%d, cmd list -- ", userStr.c_str(), static_cast<int>(timeoutMs));
    }
    const auto it = PerfCtrlHelper::BoostComdTable.find(EPERF_BOOST_DEFAULT);
    if (it == PerfCtrlHelper::BoostComdTable.end()) {
        return result;
    }
    result =
        std::make_unique<PerfOperatorImp>(it->second, static_cast<int>(timeoutMs), userStr.c_str());
    return result;
}

std::unique_ptr<PerfOperator> Cam3PerfCtrlImp::runPerfBoost(EPERF_BOOST_OPERATION operation,
                                                            unsigned int timeoutMs) {
    std::unique_ptr<PerfOperator> result;
    const std::string userStr = "runPerfBoost-" + std::to_string(gettid());
    const bool verbose = miLogLevel.load(std::memory_order_relaxed) != 0;
    if (verbose) {
        CAM_LOGD("%s operation=%d timeout=%d, cmd list -- ", userStr.c_str(),
                 static_cast<int>(operation), static_cast<int>(timeoutMs));
    }
    // The zoom list replaces level 2 only while the controller's own log switch is on.
    std::vector<int> zoomCmds;
    if (operation == EPERF_BOOST_MULTICAM_ZOOM && verbose) {
        getMultiCamZoomBoostTable(zoomCmds);
    }
    const std::vector<int>* cmds = &zoomCmds;
    if (zoomCmds.empty()) {
        const auto it = PerfCtrlHelper::BoostComdTable.find(operation);
        if (it == PerfCtrlHelper::BoostComdTable.end()) {
            return result;
        }
        cmds = &it->second;
    }
    result = std::make_unique<PerfOperatorImp>(*cmds, static_cast<int>(timeoutMs), userStr.c_str());
    return result;
}

void Cam3PerfCtrlImp::getMultiCamZoomBoostTable(std::vector<int>& out) {
    const int dram = g_multicam_zoom_dram_opp == PerfCtrlProperties::kZoomDramOppUnset
                         ? 0
                         : g_multicam_zoom_dram_opp;
    if (g_multicam_zoom_cpu0_freq >= 1) {
        out.insert(out.end(), {PERF_RES_CPUFREQ_MIN_CLUSTER_0, g_multicam_zoom_cpu0_freq});
    }
    if (g_multicam_zoom_cpu1_freq >= 1) {
        out.insert(out.end(), {PERF_RES_CPUFREQ_MIN_CLUSTER_1, g_multicam_zoom_cpu1_freq});
    }
    if (g_multicam_zoom_cpu2_freq >= 1) {
        out.insert(out.end(), {PERF_RES_CPUFREQ_MIN_CLUSTER_2, g_multicam_zoom_cpu2_freq});
    }
    // Operating point 0 is never requested here, nor negative values.
    if (dram >= 1) {
        out.insert(out.end(), {PERF_RES_DRAM_OPP_MIN, dram});
    }
    CAM_LOGD("check MultiCamZoom table, dram_opp:%d cpu:%d,%d,%d, cmd size:%zu", dram,
             std::max(g_multicam_zoom_cpu0_freq, 0), std::max(g_multicam_zoom_cpu1_freq, 0),
             std::max(g_multicam_zoom_cpu2_freq, 0), out.size());
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
