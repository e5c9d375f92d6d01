// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "PerfOperator.h"
#include "QvncamExport.h"
#include "QvncamThreadAnnotations.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

class QVNCAM_EXPORT PerfOperatorImp : public PerfOperator {
  public:
    using LockAcqFn = int (*)(int handle, int duration, int* list, int numArgs);
    using LockRelFn = int (*)(int handle);
    // Start times and expiry: the system clock, in microseconds.
    using TimePoint = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

    // Asks the power service for a lock on `cmds` (resource id, value pairs) for `timeout` ms
    // at once, loading its client first if needed. Without the client or the service's
    // grant it logs an error and stays not alive. `user` (may be null) names it in traces.
    PerfOperatorImp(std::vector<int> cmds, int timeout, const char* user);
    ~PerfOperatorImp() override;
    // One lock and one place in the live-operator list each: a copy would release the lock
    // twice and share the list's links.
    PerfOperatorImp(const PerfOperatorImp&) = delete;
    PerfOperatorImp& operator=(const PerfOperatorImp&) = delete;
    PerfOperatorImp(PerfOperatorImp&&) = delete;
    PerfOperatorImp& operator=(PerfOperatorImp&&) = delete;

    bool exit() override;
    bool isAlive() override;
    bool detach() override;
    int getTimeoutInMilli() override;

    // Re-issues the lock with a further command list and the same duration and start. False
    // when the client is not loaded or the service answers 0 (the operator is then not
    // alive). Not beside any other call on the same operator (isAlive() included).
    bool perform_extra(std::vector<int> cmds);
    // Debug listing of a command list by resource name; nothing at log level 0.
    void printCmds(std::vector<int>& cmds);
    // Body of the detached thread that closes the trace slice when the duration runs out.
    static void traceTimeoutCb(int cookie, int timeout, std::string user);

    // Power-service client entries, null until the first operator that needs them loads
    // them. Atomic so that concurrent first use is not a data race.
    static std::atomic<LockAcqFn> mfnLockAcq;
    static std::atomic<LockRelFn> mfnLockRel;
    // Trace cookie generator.
    static std::atomic<int> miGID;

  private:
    friend class LiveOperators;

    bool _exit();

    int mTimeout = -1;
    TimePoint mStartTime{};
    int mHandle = -1;
    bool mIsDetached = false;
    int mCookie = -1;
    int mLogLevel = 0;
    std::string mUserName;

    // For the dump of live operators: the last list sent, how often and when it was re-issued, and
    // this operator's place in the registry (LiveOperators). The dump reads these and the
    // fields above under the lock of the operator's shard; once listed, the operator changes
    // them only under that lock (LiveOperators::Guard).
    bool mReleased = false;
    int mReissues = 0;
    // The latest re-issue: the service counts the duration afresh from it, isAlive() does not.
    TimePoint mReissueTime{};
    std::vector<int> mCmds;
    int mLiveShard = -1;
    PerfOperatorImp* mLivePrev = nullptr;
    PerfOperatorImp* mLiveNext = nullptr;
};

class QVNCAM_EXPORT PerfOperatorHolderImp : public PerfOperatorHolder {
  public:
    PerfOperatorHolderImp() = default;
    ~PerfOperatorHolderImp() override;
    PerfOperatorHolderImp(const PerfOperatorHolderImp&) = delete;
    PerfOperatorHolderImp& operator=(const PerfOperatorHolderImp&) = delete;

    // Appends `op`; always true.
    bool push_back(std::shared_ptr<PerfOperator> op);
    // Makes `op` the custom operator, dropping the previous one; always true.
    bool setCustomHolder(std::shared_ptr<PerfOperator> op);
    std::shared_ptr<PerfOperator> getPerfOperator() override;
    bool exit() override;

  private:
    bool _exit();

    std::vector<std::shared_ptr<PerfOperator>> mOperators;
    std::shared_ptr<PerfOperator> mCustomOperator;
};

class QVNCAM_EXPORT InflightOperatorHolderImp : public InflightOperatorHolder {
  public:
    InflightOperatorHolderImp() = default;
    ~InflightOperatorHolderImp() override;
    InflightOperatorHolderImp(const InflightOperatorHolderImp&) = delete;
    InflightOperatorHolderImp& operator=(const InflightOperatorHolderImp&) = delete;

    // Holds `op` for `requestNo`, dropping any operator held for it first. Always true. May
    // overlap notifyRequestDone() and exit() on other threads.
    bool insert(int requestNo, std::shared_ptr<PerfOperator> op);
    bool notifyRequestDone(int requestNo) override;
    bool exit() override;

  private:
    bool _exit();

    qvncam::Mutex mLock;
    std::unordered_map<int, std::shared_ptr<PerfOperator>> mOperators QVNCAM_GUARDED_BY(mLock);
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
