// SPDX-License-Identifier: Apache-2.0
#include "Operations.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

#include <memory>

#include "Cam3PerfCtrl.h"
#include "PerfCtrlCustom.h"
#include "PerfOperatorImp.h"
#include "PowerResourceIds.h"
#include "StreamConfiguration.h"
#include "qvncam_perfctrl.h"

namespace qvncam {
namespace bench {
namespace {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

// The client and customisation entries, resolved from the very copies the controller loaded.
PerfOperatorImp::LockAcqFn gAcq = nullptr;
PerfOperatorImp::LockRelFn gRel = nullptr;
QueryAppropriateCPUFn gQuery = nullptr;
CustomRuntimeFn gRuntime = nullptr;

Cam3PerfCtrl* gCtrl = nullptr;
qcam::StreamConfiguration gConfig;
NSCam::IMetadata gRequestMeta;
PerfCtrlSet gSet;
int gRequestNo = 0;
cpu_set_t gCpuSet;

constexpr int kBoostMs = 500;
constexpr int kRequestMs = 33;

// What the controller sends for each operation with every property at its default and the
// benchmark's customisation library; the floors hand these to the client as they stand.
int kBoost1[] = {
    PERF_RES_CPUFREQ_MIN_CLUSTER_0, 2000000, PERF_RES_CPUFREQ_MIN_CLUSTER_1, 500000,
    PERF_RES_CPUFREQ_MIN_CLUSTER_2, 1800000, PERF_RES_SCHED_PREFER_IDLE_TA,  1,
    PERF_RES_SCHED_PREFER_IDLE_FG,  1,
};
int kBoost0[] = {
    PERF_RES_CPUFREQ_PERF_MODE,     1,       PERF_RES_DRAM_OPP_MIN,          0,
    PERF_RES_CPUFREQ_MIN_CLUSTER_0, 4000000, PERF_RES_CPUFREQ_MIN_CLUSTER_1, 4000000,
    PERF_RES_CPUFREQ_MIN_CLUSTER_2, 4000000, PERF_RES_FPS_FBT_BHR_OPP,       31,
    PERF_RES_SCHED_PREFER_IDLE_TA,  1,       PERF_RES_SCHED_PREFER_IDLE_FG,  1,
};
int kEnterPlatform[] = {
    PERF_RES_DRAM_CM_MGR_CAM_ENABLE, 1, PERF_RES_FPS_ZELTRO_CAM,       1,
    PERF_RES_FPS_ZELTRO_ENABLE,      1, PERF_RES_GPU_FW_IDLE,          2,
    PERF_RES_SCHED_RUNNABLE_BOOST,   0, PERF_RES_DRAM_DVFS_QOSMM_MODE, 33330001,
};
int kEnterCustom[] = {PERF_RES_CPUFREQ_MIN_CLUSTER_0, 1200000, PERF_RES_CPUFREQ_MIN_CLUSTER_1,
                      1000000};
int kConfig[] = {PERF_RES_CPUFREQ_MIN_CLUSTER_2, 1500000, PERF_RES_DRAM_OPP_MIN, 1};
int kRequest[] = {
    PERF_RES_CPUFREQ_MIN_CLUSTER_0, 1500000, PERF_RES_CPUFREQ_MIN_CLUSTER_1, 1200000,
    PERF_RES_CPUFREQ_MIN_CLUSTER_2, 1000000, PERF_RES_DRAM_OPP_MIN,          2,
};
int kEas[] = {0x01448300, 0, 0x01450000, 0, 0x03400000, 1};

template <size_t N>
int lock(int (&list)[N], int durationMs) {
    return gAcq(0, durationMs, list, static_cast<int>(N));
}

void runDefaultBoost() {
    gCtrl->runDefaultBoost(kBoostMs).reset();
}
void runDefaultBoostFloor() {
    gRel(lock(kBoost0, kBoostMs));
}

void enterCamera() {
    gCtrl->enterPerfCtrl_EnterCamera(kBoostMs).reset();
}
void enterCameraFloor() {
    const int platform = lock(kEnterPlatform, 0);
    const int boost = lock(kBoost0, kBoostMs);
    const int custom = lock(kEnterCustom, 0);
    gRel(custom);
    gRel(boost);
    gRel(platform);
}

void configureStream() {
    gCtrl->enterPerfCtrl_ConfigureStream(gConfig).reset();
}
void configureStreamFloor() {
    gRel(lock(kConfig, 0));
}

// The pipeline keeps the holder of the previous request and passes it back in.
void inflightRequest() {
    const int requestNo = gRequestNo++;
    std::shared_ptr<InflightOperatorHolderImp> holder =
        gCtrl->enterPerfCtrl_InflightRequest(requestNo, &gRequestMeta, gSet);
    if (!gSet.inflightHolder) {
        gSet.inflightHolder = holder;
    }
    holder->notifyRequestDone(requestNo);
}
void inflightRequestFloor() {
    gRel(lock(kRequest, kRequestMs));
}

// The customisation function's own share of a request, for reference.
void runtimeCustomisationOnly() {
    const CustomParams params{{"IS_CONFIG_TIME_KEY", "0"}};
    CustomOutCmds outCmds;
    unsigned int timeoutMs = 0;
    OverwriteCPUControls overwrite;
    gRuntime(&gRequestMeta, params, outCmds, timeoutMs, overwrite);
}

void setAffinity() {
    gCtrl->setAffinity();
}
void setAffinityFloor() {
    sched_setaffinity(0, sizeof(gCpuSet), &gCpuSet);
}

void queryAffinity() {
    gCtrl->queryAffinity("bench");
}
void queryAffinityFloor() {
    gQuery("bench", 0);
}

void enablePerTaskEAS() {
    gCtrl->enablePerTaskEASControl(kEas[1], 0x8003).reset();
}
void enablePerTaskEASFloor() {
    gRel(lock(kEas, 0));
}

// With an opened, configured camera (four live operators) and a boost, into /dev/null.
void dump() {
    static const int devNull = open("/dev/null", O_WRONLY | O_CLOEXEC);
    static const auto camera = gCtrl->enterPerfCtrl_EnterCamera(kBoostMs);
    static const auto streams = gCtrl->enterPerfCtrl_ConfigureStream(gConfig);
    static const auto boost = gCtrl->runPerfBoost(EPERF_BOOST_CAPTURE_PIPELINE, kBoostMs);
    qvncam_perfctrl_dump(devNull);
}

template <typename T>
bool resolve(void* lib, const char* name, T& out) {
    out = reinterpret_cast<T>(dlsym(lib, name));
    return out != nullptr;
}

void buildConfig() {
    qcam::Stream preview;
    preview.id = 0;
    preview.width = 1920;
    preview.height = 1080;
    preview.usage = qcam::BUFFER_USAGE_GPU_TEXTURE;
    qcam::Stream video = preview;
    video.id = 1;
    video.usage = qcam::BUFFER_USAGE_VIDEO_ENCODER;
    gConfig.streams = {preview, video};
    NSCam::IMetadata::IEntry fps(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE);
    fps.push_back(30, NSCam::Type2Type<int>());
    fps.push_back(30, NSCam::Type2Type<int>());
    gConfig.sessionParams.update(qcam::TAG_CONTROL_AE_TARGET_FPS_RANGE, fps);
}

}  // namespace

bool setUp(std::string& why) {
    gCtrl = Cam3PerfCtrl::getInstance();
    // The client is loaded by the first operator.
    gCtrl->runDefaultBoost(1).reset();

    void* client = dlopen("libqvnperf_client_vendor.so", RTLD_NOW | RTLD_NOLOAD);
    int (*noopMarker)() = nullptr;
    if (client == nullptr || !resolve(client, "qvncam_bench_noop_client", noopMarker) ||
        !resolve(client, "perf_lock_acq", gAcq) || !resolve(client, "perf_lock_rel", gRel)) {
        why = "the controller did not load the no-op power client (LD_LIBRARY_PATH?)";
        return false;
    }
    void* custom = dlopen("libcameracustom.so", RTLD_NOW | RTLD_NOLOAD);
    int (*customMarker)() = nullptr;
    if (custom == nullptr || !resolve(custom, "qvncam_bench_custom", customMarker) ||
        !resolve(custom, "queryAppropriateCPU", gQuery) ||
        !resolve(custom, "customizeRuntimeCPUCtrl", gRuntime)) {
        why = "the controller did not load the benchmark customisation library (LD_LIBRARY_PATH?)";
        return false;
    }

    buildConfig();
    kEas[1] = kEas[3] = static_cast<int>(gettid());
    CPU_ZERO(&gCpuSet);
    const int mask = gQuery("bench", 0);
    for (int cpu = 0; cpu < 32; ++cpu) {
        if ((mask >> cpu) & 1) {
            CPU_SET(cpu, &gCpuSet);
        }
    }
    // The affinity scene and the request path need a configured camera.
    configureStream();
    if (!gCtrl->setAffinity()) {
        why = "setAffinity fails here; its figures would measure the failure path";
        return false;
    }
    return true;
}

void boost() {
    gCtrl->runPerfBoost(EPERF_BOOST_CAPTURE_PIPELINE, kBoostMs).reset();
}

void boostFloor() {
    gRel(lock(kBoost1, kBoostMs));
}

const std::vector<Operation>& operations() {
    static const std::vector<Operation> ops = {
        {"runPerfBoost", boost, boostFloor},
        {"runDefaultBoost", runDefaultBoost, runDefaultBoostFloor},
        {"enterPerfCtrl_EnterCamera", enterCamera, enterCameraFloor},
        {"enterPerfCtrl_ConfigureStream", configureStream, configureStreamFloor},
        {"enterPerfCtrl_InflightRequest", inflightRequest, inflightRequestFloor},
        {"customizeRuntimeCPUCtrl", runtimeCustomisationOnly, nullptr},
        {"setAffinity", setAffinity, setAffinityFloor},
        {"queryAffinity", queryAffinity, queryAffinityFloor},
        {"enablePerTaskEASControl", enablePerTaskEAS, enablePerTaskEASFloor},
        {"qvncam_perfctrl_dump", dump, nullptr},
    };
    return ops;
}

}  // namespace bench
}  // namespace qvncam
