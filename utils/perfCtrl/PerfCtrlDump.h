// SPDX-License-Identifier: Apache-2.0
#pragma once

// The text of qvncam_perfctrl_dump(): the controller's state and every live operator.

#include <string>
#include <vector>

#include "LiveOperators.h"
#include "OperatorClock.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

class Cam3PerfCtrlImp;

enum class ControllerPresence { NotCreated, Created, Destroyed };

// What the dump shows of the controller, copied under the dump's lock.
struct ControllerDumpState {
    ControllerPresence presence = ControllerPresence::NotCreated;
    bool enterCamEntry = false;  // the four customisation entries
    bool configTimeEntry = false;
    bool runtimeEntry = false;
    bool queryCpuEntry = false;
    bool jsonOn = false;
    bool enterCamExist = false;
    size_t enterCamInts = 0;
    bool configCamExist = false;
    size_t configCamInts = 0;
    int affinityScene = 0;
    int logLevel = 0;
};

// The process's controller (getInstance()) is announced when built (`ctrl`) and when
// destroyed (null), so that a dump can read it without ever creating it.
void publishControllerForDump(Cam3PerfCtrlImp* ctrl);
ControllerDumpState copyControllerDumpState();

enum class OperatorState { Held, Timed, Detached, Expired, Refused, NeverAcquired, Released };

// Held: no expiry. Expired: the duration ran out, detached or not; the power service has
// ended the lock by itself.
OperatorState operatorState(const LiveOperatorInfo& op, PerfOperatorImp::TimePoint now);
// "held", "timed", "detached", "expired", "refused", "never acquired", "released".
const char* operatorStateName(OperatorState state);

std::string renderDump(const ControllerDumpState& ctrl, bool powerClientLoaded,
                       const std::vector<LiveOperatorInfo>& ops, PerfOperatorImp::TimePoint now);

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam
