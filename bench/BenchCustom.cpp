// SPDX-License-Identifier: Apache-2.0
// The customisation library of the benchmarks: fixed answers shaped like a device maker's.
// Enter camera adds one lock of two pairs, configure stream one of two pairs plus C2PS and
// scene keys, every request one lock of four pairs; every thread may run on the CPUs the
// process may use, so setAffinity succeeds without moving anything.

#include <sched.h>

#include "PerfCtrlCustom.h"

using NSCam::NSCamFeature::NSCamPerfCtrl::CustomOutCmds;
using NSCam::NSCamFeature::NSCamPerfCtrl::CustomParams;
using NSCam::NSCamFeature::NSCamPerfCtrl::OverwriteCPUControls;

namespace {

int allowedMask() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof(set), &set) != 0) {
        return 1;
    }
    int mask = 0;
    for (int cpu = 0; cpu < 8; ++cpu) {
        if (CPU_ISSET(cpu, &set)) {
            mask |= 1 << cpu;
        }
    }
    return mask != 0 ? mask : 1;
}

const int kMask = allowedMask();

}  // namespace

#define BENCH_API extern "C" __attribute__((visibility("default")))

BENCH_API bool customizeEnterCameraPerf(const CustomParams& /*params*/, CustomOutCmds& cmds,
                                        unsigned int& timeout) {
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = 1200000;
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_1"] = 1000000;
    timeout = 0;
    return true;
}

BENCH_API bool customizeConfigTimeCPUCtrl(const qcam::StreamConfiguration& /*config*/,
                                          const CustomParams& /*params*/, CustomOutCmds& cmds,
                                          unsigned int& timeout) {
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_2"] = 1500000;
    cmds["PERF_RES_DRAM_OPP_MIN"] = 1;
    cmds["C2PS_FEATURE_CUSTOMIZATION"] = 1;
    cmds["CAM_CPU_AFFY_SCENE"] = 1;
    timeout = 0;
    return true;
}

BENCH_API bool customizeRuntimeCPUCtrl(const NSCam::IMetadata* /*request*/,
                                       const CustomParams& /*params*/, CustomOutCmds& cmds,
                                       unsigned int& timeout, OverwriteCPUControls& /*overwrite*/) {
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_0"] = 1500000;
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_1"] = 1200000;
    cmds["PERF_RES_CPUFREQ_MIN_CLUSTER_2"] = 1000000;
    cmds["PERF_RES_DRAM_OPP_MIN"] = 2;
    timeout = 33;
    return true;
}

BENCH_API int queryAppropriateCPU(const char* /*threadName*/, int /*scene*/) {
    return kMask;
}

// Lets the benchmark check that the controller found this library and not another one.
BENCH_API int qvncam_bench_custom(void) {
    return 1;
}
