// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "PerfCtrlHelper"

#include "PerfCtrlHelper.h"

#include <dlfcn.h>

#include <atomic>

#include "CamLog.h"
#include "PerfCtrlProperties.h"
#include "PowerResourceIds.h"
#include "QvncamThreadAnnotations.h"
#include "qvncam/platform/Properties.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

qvncam::Mutex gHelperMutex;

namespace {

constexpr char kPowerClientLibrary[] = "libqvnperf_client_vendor.so";
constexpr char kCustomLibrary[] = "libcameracustom.so";

// DRAM QoS multimedia mode: the value the power service takes for camera use, sent as it is.
constexpr int kDramQosMmModeCamera = 33330001;

// Power-service client. Loading, and undoing a failed load, happen under
// gPerfClientMutex: a failing thread closes only the handle it saw opened, and no thread
// looks an entry up in a handle another has closed. Once both entries are resolved they
// never change again, so callers read them without the lock.
qvncam::Mutex gPerfClientMutex;
void* gPerfClientHandle QVNCAM_GUARDED_BY(gPerfClientMutex) = nullptr;
std::atomic<PerfOperatorImp::LockAcqFn> gPerfLockAcqFn{nullptr};
std::atomic<PerfOperatorImp::LockRelFn> gPerfLockRelFn{nullptr};

// Customisation library.
void* gCustomLibHandle QVNCAM_GUARDED_BY(gHelperMutex) = nullptr;
CustomEnterCameraFn gCustomEnterCameraFn QVNCAM_GUARDED_BY(gHelperMutex) = nullptr;
CustomConfigTimeFn gCustomConfigTimeFn QVNCAM_GUARDED_BY(gHelperMutex) = nullptr;
CustomRuntimeFn gCustomRuntimeFn QVNCAM_GUARDED_BY(gHelperMutex) = nullptr;
QueryAppropriateCPUFn gCustomQueryCpuFn QVNCAM_GUARDED_BY(gHelperMutex) = nullptr;

constexpr auto kRelaxed = std::memory_order_relaxed;

template <typename Fn>
Fn lookup(void* handle, const char* symbol) {
    return reinterpret_cast<Fn>(dlsym(handle, symbol));
}

// Looks a customisation entry up once, under gHelperMutex: a fresh look-up writes its result
// (possibly null) to `out`; an entry already cached leaves `out` as the caller had it.
template <typename Fn>
void resolveCustomEntry(Fn& cached, const char* symbol, const char* what, Fn& out)
    QVNCAM_REQUIRES(gHelperMutex) {
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

bool PerfCtrlHelper::loadPowerHalAPI(PerfOperatorImp::LockAcqFn& lockAcq,
                                     PerfOperatorImp::LockRelFn& lockRel) {
    // The release entry is stored last, with release order: seeing it means both are set.
    if (PerfOperatorImp::LockRelFn rel = gPerfLockRelFn.load(std::memory_order_acquire);
        rel != nullptr) {
        lockAcq = gPerfLockAcqFn.load(kRelaxed);
        lockRel = rel;
        return true;
    }
    qvncam::MutexLock lock(gPerfClientMutex);
    if (gPerfClientHandle == nullptr) {
        gPerfClientHandle = dlopen(kPowerClientLibrary, RTLD_NOW);
        if (gPerfClientHandle == nullptr) {
            CAM_LOGW("dlopen fail: %s\n", dlerror());
            return false;
        }
    }
    if (gPerfLockAcqFn.load(kRelaxed) == nullptr) {
        gPerfLockAcqFn.store(lookup<PerfOperatorImp::LockAcqFn>(gPerfClientHandle, "perf_lock_acq"),
                             kRelaxed);
        if (gPerfLockAcqFn.load(kRelaxed) == nullptr) {
            CAM_LOGW("perfLockAcq error: %s\n", dlerror());
            dlclose(gPerfClientHandle);
            gPerfClientHandle = nullptr;
            return false;
        }
    }
    if (gPerfLockRelFn.load(kRelaxed) == nullptr) {
        PerfOperatorImp::LockRelFn rel =
            lookup<PerfOperatorImp::LockRelFn>(gPerfClientHandle, "perf_lock_rel");
        if (rel == nullptr) {
            CAM_LOGW("perfLockRel error: %s\n", dlerror());
            dlclose(gPerfClientHandle);
            gPerfClientHandle = nullptr;
            gPerfLockAcqFn.store(nullptr, kRelaxed);
            return false;
        }
        gPerfLockRelFn.store(rel, std::memory_order_release);
    }
    lockAcq = gPerfLockAcqFn.load(kRelaxed);
    lockRel = gPerfLockRelFn.load(kRelaxed);
    return true;
}

void PerfCtrlHelper::loadCustomPerfFunctions(CustomEnterCameraFn& enterCam,
                                             CustomConfigTimeFn& configTime,
                                             CustomRuntimeFn& runtime,
                                             QueryAppropriateCPUFn& queryCpu) {
    qvncam::MutexLock lock(gHelperMutex);

    if (gCustomLibHandle == nullptr) {
        gCustomLibHandle = dlopen(kCustomLibrary, RTLD_NOW);
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
        cmds.insert(cmds.end(), {PERF_RES_DRAM_DVFS_QOSMM_MODE, kDramQosMmModeCamera});
    }
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
