// SPDX-License-Identifier: Apache-2.0
#include "Cam3PerfCtrl.h"
#include "NSCamProperties.h"
#include "PerfCtrlHelper.h"
#include "PerfCtrlProperties.h"
#include "PowerResourceIds.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

namespace {

using NSCam::Utils::Properties::property_get_int32;

// Capture-pipeline boost floors.
int32_t cpuFreqCluster0 = property_get_int32(PerfCtrlProperties::kBoostFreqCluster0.name,
                                             PerfCtrlProperties::kBoostFreqCluster0.defaultValue);
int32_t cpuFreqCluster1 = property_get_int32(PerfCtrlProperties::kBoostFreqCluster1.name,
                                             PerfCtrlProperties::kBoostFreqCluster1.defaultValue);
int32_t cpuFreqCluster2 = property_get_int32(PerfCtrlProperties::kBoostFreqCluster2.name,
                                             PerfCtrlProperties::kBoostFreqCluster2.defaultValue);

// Above every cluster's top frequency: the default boost runs each cluster at its highest.
constexpr int32_t kFreqAboveTop = 4000000;

}  // namespace

// clang-format off
const std::unordered_map<int, std::vector<int>> PerfCtrlHelper::BoostComdTable = {
        {EPERF_BOOST_DEFAULT,
         {
                 PERF_RES_CPUFREQ_PERF_MODE, 1,
                 PERF_RES_DRAM_OPP_MIN, 0,
                 PERF_RES_CPUFREQ_MIN_CLUSTER_0, kFreqAboveTop,
                 PERF_RES_CPUFREQ_MIN_CLUSTER_1, kFreqAboveTop,
                 PERF_RES_CPUFREQ_MIN_CLUSTER_2, kFreqAboveTop,
                 PERF_RES_FPS_FBT_BHR_OPP, 31,
                 PERF_RES_SCHED_PREFER_IDLE_TA, 1,
                 PERF_RES_SCHED_PREFER_IDLE_FG, 1,
         }},
        {EPERF_BOOST_CAPTURE_PIPELINE,
         {
                 PERF_RES_CPUFREQ_MIN_CLUSTER_0, cpuFreqCluster0,
                 PERF_RES_CPUFREQ_MIN_CLUSTER_1, cpuFreqCluster1,
                 PERF_RES_CPUFREQ_MIN_CLUSTER_2, cpuFreqCluster2,
                 PERF_RES_SCHED_PREFER_IDLE_TA, 1,
                 PERF_RES_SCHED_PREFER_IDLE_FG, 1,
         }},
        {EPERF_BOOST_MULTICAM_ZOOM,
         {
                 PERF_RES_CPUFREQ_MIN_CLUSTER_0, 1000000,
                 PERF_RES_CPUFREQ_MIN_CLUSTER_1, 1500000,
         }},
        {EPERF_BOOST_LIGHT,
         {
                 PERF_RES_CPUFREQ_MIN_CLUSTER_0, 1400000,
                 PERF_RES_CPUFREQ_MIN_CLUSTER_1, 1000000,
                 PERF_RES_CPUFREQ_MIN_CLUSTER_2, 1000000,
         }},
};
// clang-format on

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
