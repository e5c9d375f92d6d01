// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "QvncamExport.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

// One power-service lock with a duration in milliseconds (0 = until released). Used by one
// thread at a time; whichever thread drops the last owner releases the lock, unless the
// operator was detached.
class QVNCAM_EXPORT PerfOperator {
  public:
    virtual ~PerfOperator();
    // Gives the lock back now, even one whose duration has passed; nothing when none was
    // granted, it was given back already or the operator was detached. Always true.
    virtual bool exit() = 0;
    // False when no lock was granted or it was given back; true for a lock without expiry,
    // and for a timed one (detached or not) until its duration has passed.
    virtual bool isAlive() = 0;
    // Leaves a held, timed lock to expire by itself: true, and exit() and destruction no
    // longer release it. False, changing nothing, without a lock or for a lock without
    // expiry (nothing would ever end it).
    virtual bool detach() = 0;
    // The duration given at construction; -1 once the lock was given back.
    virtual int getTimeoutInMilli() = 0;
};

// The operators of one camera phase plus one operator set apart as the custom one. Used by
// one thread at a time.
class QVNCAM_EXPORT PerfOperatorHolder {
  public:
    virtual ~PerfOperatorHolder();
    // The custom operator (see Cam3PerfCtrl for which it is); empty if none was set. Still
    // there after exit(): it goes with the holder.
    virtual std::shared_ptr<PerfOperator> getPerfOperator() = 0;
    // Drops the listed operators, last added first: each one's lock goes unless it is the
    // custom operator too, is shared elsewhere or was detached. Always true.
    virtual bool exit() = 0;
};

// One operator per in-flight request, released when the request is done. Its calls may
// overlap on any threads.
class QVNCAM_EXPORT InflightOperatorHolder {
  public:
    virtual ~InflightOperatorHolder();
    // Drops the request's operator (its lock goes unless shared elsewhere or detached).
    // Always true, also for a request it does not hold.
    virtual bool notifyRequestDone(int requestNo) = 0;
    // Drops every request's operator. Always true.
    virtual bool exit() = 0;
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
