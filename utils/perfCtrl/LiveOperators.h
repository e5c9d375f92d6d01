// SPDX-License-Identifier: Apache-2.0
#pragma once

// The registry of live perf operators: every PerfOperatorImp is listed from the end of its
// construction to the start of its destruction, so that a dump can tell which camera
// moment holds which power lock.

#include <cstdint>
#include <string>
#include <vector>

#include "PerfOperatorImp.h"
#include "QvncamThreadAnnotations.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

// An operator's name (its trace slice) is this prefix and its creator's user string.
inline constexpr char kOperatorNamePrefix[] = "Cam3PerfCtrl:";

// What the dump shows of one operator, copied under its list's lock.
struct LiveOperatorInfo {
    std::string user;  // as the creator gave it
    int handle = -1;
    int timeoutMs = -1;
    bool detached = false;
    bool released = false;
    PerfOperatorImp::TimePoint start{};
    std::vector<int> cmds;  // the last list sent: the acquisition or the latest re-issue
    int reissues = 0;
    PerfOperatorImp::TimePoint lastReissue{};  // when reissues > 0
};

class LiveOperators {
  public:
    static void add(PerfOperatorImp& op);
    static void remove(PerfOperatorImp& op);
    // Every listed operator, oldest first.
    static std::vector<LiveOperatorInfo> snapshot();

    // Held while an operator changes a field the dump reads after its construction;
    // takes no lock once the operator is unlisted (in its destructor). Which shard's lock
    // that is, and whether there is one, is known only at run time: the analysis cannot
    // follow it, and the operator's fields carry no annotation.
    class Guard {
      public:
        explicit Guard(const PerfOperatorImp& op) QVNCAM_NO_THREAD_SAFETY_ANALYSIS;
        ~Guard() QVNCAM_NO_THREAD_SAFETY_ANALYSIS {
            if (mMutex != nullptr) {
                mMutex->unlock();
            }
        }
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

      private:
        qvncam::Mutex* mMutex;
    };
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
