// SPDX-License-Identifier: Apache-2.0
#define LOG_TAG "Cam3PerfCtrl"

#include <chrono>
#include <exception>
#include <thread>
#include <utility>

#include "CamLog.h"
#include "LiveOperators.h"
#include "OperatorClock.h"
#include "PerfCtrlHelper.h"
#include "PerfCtrlProperties.h"
#include "PerfOperatorImp.h"
#include "PowerResourceIds.h"
#include "qvncam/platform/Clock.h"
#include "qvncam/platform/Properties.h"
#include "qvncam/platform/Trace.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

std::atomic<PerfOperatorImp::LockAcqFn> PerfOperatorImp::mfnLockAcq{nullptr};
std::atomic<PerfOperatorImp::LockRelFn> PerfOperatorImp::mfnLockRel{nullptr};
std::atomic<int> PerfOperatorImp::miGID{0};

PerfOperator::~PerfOperator() = default;

namespace {

PerfOperatorImp::LockAcqFn lockAcq() {
    return PerfOperatorImp::mfnLockAcq.load(std::memory_order_relaxed);
}
PerfOperatorImp::LockRelFn lockRel() {
    return PerfOperatorImp::mfnLockRel.load(std::memory_order_relaxed);
}

// The timer's body; `wait` was made when the timer started.
void traceTimeout(int cookie, int timeout, const std::string& user,
                  qvncam::platform::ClockWait wait) {
    CAM_LOGD("traceTimeoutCb(%d) wait %d ms, userStr=%s", cookie, timeout, user.c_str());
    wait.wait();
    CAM_LOGD("traceTimeoutCb(%d) time's up", cookie);
    if (qvncam::platform::atrace_camera_enabled()) {
        qvncam::platform::atrace_async_end(user.c_str(), cookie);
    }
}

// Starts the detached timer thread. The wait is made here rather than in the thread, so
// that its time counts from the lock's start whenever the thread gets to run. (A lambda
// local to this file keeps the thread's state type out of the library's exports.)
// Out of threads or memory, the operator goes on without it: the lock is unaffected, and
// the slice ends at release instead.
void startTraceTimer(int cookie, int timeout, const std::string& user) {
    try {
        std::thread([cookie, timeout, user, wait = qvncam::platform::ClockWait(timeout)]() mutable {
            traceTimeout(cookie, timeout, user, std::move(wait));
        }).detach();
    } catch (const std::exception& e) {
        CAM_LOGE("traceTimeoutCb(%d) timer could not start (%s); slice %s ends at release", cookie,
                 e.what(), user.c_str());
    }
}

}  // namespace

PerfOperatorImp::PerfOperatorImp(std::vector<int> cmds, int timeout, const char* user) {
    bool loaded = true;
    if (lockAcq() == nullptr || lockRel() == nullptr) {
        LockAcqFn acq = lockAcq();
        LockRelFn rel = lockRel();
        loaded = PerfCtrlHelper::loadPowerHalAPI(acq, rel);
        if (loaded) {
            mfnLockAcq.store(acq, std::memory_order_relaxed);
            mfnLockRel.store(rel, std::memory_order_relaxed);
        }
    }
    mStartTime = operatorNow();
    mTimeout = timeout;
    if (!loaded) {
        CAM_LOGE("Load PowerHal API Failed!");
    } else {
        mHandle = lockAcq()(0, timeout, cmds.data(), static_cast<int>(cmds.size()));
    }

    mLogLevel = qvncam::platform::property_get_int32(PerfCtrlProperties::kLogLevel.name,
                                                     PerfCtrlProperties::kLogLevel.defaultValue);
    mUserName = std::string(kOperatorNamePrefix) + (user != nullptr ? user : "_null_user_name_");

    if (mHandle == 0) {
        CAM_LOGE("Failed to allocate handle!");
    }

    if (mLogLevel >= 1) {
        mCookie = miGID.fetch_add(1, std::memory_order_relaxed);
        if (qvncam::platform::atrace_camera_enabled()) {
            qvncam::platform::atrace_async_begin(mUserName.c_str(), mCookie);
        }
        if (mTimeout != 0) {
            startTraceTimer(mCookie, mTimeout, mUserName);
        }
        CAM_LOGD("mHandle=%d", mHandle);
        printCmds(cmds);
    }
    // Kept for the dump; the list was built for this operator, so this costs no copy.
    mCmds = std::move(cmds);
    LiveOperators::add(*this);
}

PerfOperatorImp::~PerfOperatorImp() {
    LiveOperators::remove(*this);
    _exit();
}

// By value: the detached timer thread owns its copy of the name.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void PerfOperatorImp::traceTimeoutCb(int cookie, int timeout, std::string user) {
    traceTimeout(cookie, timeout, user, qvncam::platform::ClockWait(timeout));
}

bool PerfOperatorImp::exit() {
    return _exit();
}

bool PerfOperatorImp::_exit() {
    if (mHandle < 1 || mIsDetached) {
        return true;
    }
    if (mLogLevel >= 1 && qvncam::platform::atrace_camera_enabled()) {
        qvncam::platform::atrace_async_end(mUserName.c_str(), mCookie);
    }
    if (LockRelFn rel = lockRel()) {
        rel(mHandle);
    }
    LiveOperators::Guard guard(*this);
    mHandle = -1;
    mTimeout = -1;
    mReleased = true;
    return true;
}

bool PerfOperatorImp::isAlive() {
    if (mHandle < 1) {
        return false;
    }
    if (mTimeout == 0) {
        return true;
    }
    return mTimeout > millisBetween(mStartTime, operatorNow());
}

bool PerfOperatorImp::detach() {
    if (mHandle >= 1 && mTimeout != 0) {
        LiveOperators::Guard guard(*this);
        mIsDetached = true;
        return true;
    }
    return false;
}

int PerfOperatorImp::getTimeoutInMilli() {
    return mTimeout;
}

bool PerfOperatorImp::perform_extra(std::vector<int> cmds) {
    if (mLogLevel != 0) {
        CAM_LOGD("perform_extra mHandle=%d", mHandle);
        printCmds(cmds);
    }
    LockAcqFn acq = lockAcq();
    if (acq == nullptr) {
        CAM_LOGE("LockAcq is nullptr!");
        return false;
    }
    const TimePoint reissued = operatorNow();
    const int handle = acq(mHandle, mTimeout, cmds.data(), static_cast<int>(cmds.size()));
    {
        LiveOperators::Guard guard(*this);
        mHandle = handle;
        mCmds.swap(cmds);  // the old list is freed after the guard
        ++mReissues;
        mReissueTime = reissued;
    }
    if (mHandle != 0) {
        return true;
    }
    CAM_LOGE("Failed to allocate handle!");
    return false;
}

void PerfOperatorImp::printCmds(std::vector<int>& cmds) {
    if (mLogLevel == 0 || cmds.empty()) {
        return;
    }
    for (size_t i = 0; i < cmds.size(); i += kIntsPerPair) {
        const char* name = powerResourceName(cmds[i]);
        if (name == nullptr) {
            name = "null";
        }
        // An odd-length list has no value for its last id; show 0 rather than read past it.
        const int value = i + 1 < cmds.size() ? cmds[i + 1] : 0;
        CAM_LOGD("cookie=%d key=%s value=%d", mCookie, name, value);
    }
}

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
