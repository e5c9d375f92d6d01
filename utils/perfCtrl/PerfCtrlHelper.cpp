#define LOG_TAG "PerfCtrlHelper"

#include "PerfCtrlHelper.h"

#include <dlfcn.h>

#include <atomic>
#include <mutex>

#include "CamLog.h"
#include "PerfCtrlProperties.h"
#include "PowerResourceIds.h"
#include "qvncam/platform/Properties.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

std::mutex gHelperMutex;

namespace {

using LockAcqFn = int (*)(int, int, int*, int);
using LockRelFn = int (*)(int);

// Power-service client. Written without a lock by concurrent first users: atomics keep
// that free of data races, and every racer stores the same values.
std::atomic<void*> gPerfClientHandle{nullptr};
std::atomic<LockAcqFn> gPerfLockAcqFn{nullptr};
std::atomic<LockRelFn> gPerfLockRelFn{nullptr};

// Customisation library, guarded by gHelperMutex.
void* gCustomLibHandle = nullptr;
CustomEnterCameraFn gCustomEnterCameraFn = nullptr;
CustomConfigTimeFn gCustomConfigTimeFn = nullptr;
CustomRuntimeFn gCustomRuntimeFn = nullptr;
QueryAppropriateCPUFn gCustomQueryCpuFn = nullptr;

constexpr auto kRelaxed = std::memory_order_relaxed;

template <typename Fn>
Fn lookup(void* handle, const char* symbol) {
    return reinterpret_cast<Fn>(dlsym(handle, symbol));
}

// Looks a customisation entry up once, under gHelperMutex: a fresh look-up writes its result
// (possibly null) to `out`; an entry already cached leaves `out` as the caller had it.
template <typename Fn>
void resolveCustomEntry(Fn& cached, const char* symbol, const char* what, Fn& out) {
    if (cached != nullptr) {
        return;
    }
    cached = lookup<Fn>(gCustomLibHandle, symbol);
    if (cached == nullptr) {
        CAM_LOGE("%s error: %s\n", what, dlerror());
    }
    out = cached;
}

}  // namespace

bool PerfCtrlHelper::loadPowerHalAPI(int (*&lockAcq)(int, int, int*, int), int (*&lockRel)(int)) {
    if (gPerfClientHandle.load(kRelaxed) == nullptr) {
        gPerfClientHandle.store(dlopen("libqvnperf_client_vendor.so", RTLD_NOW), kRelaxed);
        if (gPerfClientHandle.load(kRelaxed) == nullptr) {
            CAM_LOGW("dlopen fail: %s\n", dlerror());
            return false;
        }
    }
    if (gPerfLockAcqFn.load(kRelaxed) == nullptr) {
        gPerfLockAcqFn.store(lookup<LockAcqFn>(gPerfClientHandle.load(kRelaxed), "perf_lock_acq"),
                             kRelaxed);
        if (gPerfLockAcqFn.load(kRelaxed) == nullptr) {
            CAM_LOGW("perfLockAcq error: %s\n", dlerror());
            dlclose(gPerfClientHandle.exchange(nullptr, kRelaxed));
            return false;
        }
    }
    if (gPerfLockRelFn.load(kRelaxed) == nullptr) {
        gPerfLockRelFn.store(lookup<LockRelFn>(gPerfClientHandle.load(kRelaxed), "perf_lock_rel"),
                             kRelaxed);
        if (gPerfLockRelFn.load(kRelaxed) == nullptr) {
            CAM_LOGW("perfLockRel error: %s\n", dlerror());
            dlclose(gPerfClientHandle.exchange(nullptr, kRelaxed));
            gPerfLockAcqFn.store(nullptr, kRelaxed);
            return false;
        }
    }
    lockAcq = gPerfLockAcqFn.load(kRelaxed);
    lockRel = gPerfLockRelFn.load(kRelaxed);
    return true;
}

void PerfCtrlHelper::loadCustomPerfFunctions(CustomEnterCameraFn& enterCam,
                                             CustomConfigTimeFn& configTime,
                                             CustomRuntimeFn& runtime,
                                             QueryAppropriateCPUFn& queryCpu) {
    std::lock_guard<std::mutex> lock(gHelperMutex);

    if (gCustomLibHandle == nullptr) {
        gCustomLibHandle = dlopen("libcameracustom.so", RTLD_NOW);
        if (gCustomLibHandle == nullptr) {
            CAM_LOGE("dlopen fail: %s\n", dlerror());
            return;
        }
    }
    resolveCustomEntry(gCustomEnterCameraFn, "customizeEnterCameraPerf", "funcEnterCamCPUCtrl",
                       enterCam);
    resolveCustomEntry(gCustomConfigTimeFn, "customizeConfigTimeCPUCtrl", "funcConfigTimeCPUCtrl",
                       configTime);
    resolveCustomEntry(gCustomRuntimeFn, "customizeRuntimeCPUCtrl", "funcRuntimeCPUCtrl", runtime);
    // The three customisation functions are used all together or not at all.
    if (enterCam == nullptr || configTime == nullptr || runtime == nullptr) {
        enterCam = nullptr;
        configTime = nullptr;
        runtime = nullptr;
    }
    // The CPU query stands on its own.
    resolveCustomEntry(gCustomQueryCpuFn, "queryAppropriateCPU", "funcQueryAppropriateCPU",
                       queryCpu);
}

void PerfCtrlHelper::prepareEnterCameraPlatSettings(std::vector<int>& cmds) {
    using PerfCtrlProperties::kDvfsMmModeEnable;
    using PerfCtrlProperties::kIdlePreferEnable;
    using PerfCtrlProperties::kRunnableBoostDisable;
    using qvncam::platform::property_get_bool;
    if (property_get_bool(kIdlePreferEnable.name, kIdlePreferEnable.defaultValue)) {
        cmds.insert(cmds.end(), {PERF_RES_SCHED_PREFER_IDLE_TA, 1});
        cmds.insert(cmds.end(), {PERF_RES_SCHED_PREFER_IDLE_FG, 1});
    }
    if (property_get_bool(kRunnableBoostDisable.name, kRunnableBoostDisable.defaultValue)) {
        cmds.insert(cmds.end(), {PERF_RES_SCHED_RUNNABLE_BOOST, 0});
    }
    if (property_get_bool(kDvfsMmModeEnable.name, kDvfsMmModeEnable.defaultValue)) {
        cmds.insert(cmds.end(), {PERF_RES_DRAM_DVFS_QOSMM_MODE, 33330001});
    }
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
