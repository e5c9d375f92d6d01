#pragma once

#include <memory>

#include "QvncamExport.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

// One power-service lock with a duration in milliseconds (0 = until released). Used by one
// thread at a time; whichever thread drops the last owner releases the lock.
class QVNCAM_EXPORT PerfOperator {
  public:
    virtual ~PerfOperator();
    // Gives the lock back now.
    virtual bool exit() = 0;
    // Whether the lock is held and its duration has not run out.
    virtual bool isAlive() = 0;
    // Leaves a timed lock to expire by itself.
    virtual bool detach() = 0;
    // The duration given at construction; -1 once released.
    virtual int getTimeoutInMilli() = 0;
};

// The operators of one camera phase plus one operator set apart as the custom one. Used by
// one thread at a time.
class QVNCAM_EXPORT PerfOperatorHolder {
  public:
    virtual ~PerfOperatorHolder();
    virtual std::shared_ptr<PerfOperator> getPerfOperator() = 0;
    virtual bool exit() = 0;
};

// One operator per in-flight request, released when the request is done. Its calls may
// overlap on any threads.
class QVNCAM_EXPORT InflightOperatorHolder {
  public:
    virtual ~InflightOperatorHolder();
    virtual bool notifyRequestDone(int requestNo) = 0;
    virtual bool exit() = 0;
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
