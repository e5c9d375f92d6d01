// SPDX-License-Identifier: Apache-2.0
#pragma once

// One simulation's insides, shared by the session loop and what it records
// (Simulator.cpp), the players of each step kind (StepPlayers.cpp) and the dump step
// (DumpStep.cpp). Not for use outside this folder.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "play/ServiceProbe.h"
#include "play/Simulator.h"

namespace qvnperfctl {

using Notes = std::vector<std::string>;

// The `dump` step: what qvncam_perfctrl_dump() prints at that point of a session, then
// the power service's own view of the live locks, so that the two can be matched by
// handle. One note per line. On the virtual clock (`virtualNowUs`: the session's time
// now) the dump's process id, wall-clock times and callers' thread ids give way to the
// simulated pipeline's task and the session's times.
Notes dumpStepNotes(const std::vector<LockSummary>& serviceLocks,
                    std::optional<int64_t> virtualNowUs);

// Switches the process to the virtual clock for the life of a simulation.
class VirtualTime {
  public:
    explicit VirtualTime(bool on);
    ~VirtualTime();
    VirtualTime(const VirtualTime&) = delete;
    VirtualTime& operator=(const VirtualTime&) = delete;

  private:
    bool mOn;
};

class Simulation {
  public:
    Simulation(const Session& session, NSCam::NSCamFeature::NSCamPerfCtrl::Cam3PerfCtrl& ctrl,
               PropertyFile& properties, const PlayOptions& options);

    Timeline run();

  private:
    struct Action {
        std::string label;
        int line;
        bool perRequest;
        std::function<void(Notes&)> run;
    };

    // The session loop and what it records (Simulator.cpp).

    // One timeline entry: the lock events `action` causes and the effective values after it.
    // `roles` name the locks the action asks for, in order; the last one names any more.
    void entry(const std::string& label, const std::function<void(Notes&)>& action,
               bool perRequest = false, std::vector<std::string> roles = {});
    void addEntry(Entry e);
    // Locks the service ended by their duration since the last look, as an entry of their own.
    void flushExpiries();
    void schedule(int64_t dueUs, std::string label, std::function<void(Notes&)> run,
                  bool perRequest = false);
    // Lets time pass until `targetUs`, running due actions and noting expiries as they
    // happen.
    void advanceTo(int64_t targetUs);
    // What a pipeline does when the camera closes: requests, streams, camera, then the rest.
    void releaseEverything();
    void summarise();

    // The players of each step kind (StepPlayers.cpp).
    void play(const OpenStep& s);
    void play(const ConfigureStep& s);
    void play(const RequestsStep& s);
    void play(const BoostStep& s);
    void play(const AffinityStep& s);
    void play(const EasStep& s);
    void play(const PropStep& s);
    void play(const WaitStep& s);
    void play(const CloseStep&);
    void play(const DumpStep&);
    // Keeps an operator; releases it after `releaseAfterMs`, or at close when negative.
    void hold(std::unique_ptr<NSCam::NSCamFeature::NSCamPerfCtrl::PerfOperator> op,
              int releaseAfterMs, const std::string& label);

    const Session& mSession;
    NSCam::NSCamFeature::NSCamPerfCtrl::Cam3PerfCtrl& mCtrl;
    PropertyFile& mProperties;
    bool mRealTime;
    VirtualTime mVirtualTime;  // before the probe, whose times count from its start
    ServiceProbe mProbe;
    Timeline mTimeline;
    int mLine = 0;
    std::vector<std::string> mRoles;  // of the locks the current entry asks for
    std::vector<std::string> mMarks;  // of the current entry
    CustomOrigins mCustomOrigins;
    std::multimap<int64_t, Action> mAgenda;

    std::shared_ptr<NSCam::NSCamFeature::NSCamPerfCtrl::PerfOperatorHolder> mEnterHolder;
    std::shared_ptr<NSCam::NSCamFeature::NSCamPerfCtrl::PerfOperatorHolder> mConfigHolder;
    NSCam::NSCamFeature::NSCamPerfCtrl::PerfCtrlSet mSet;
    std::map<int, std::unique_ptr<NSCam::NSCamFeature::NSCamPerfCtrl::PerfOperator>> mHeld;
    int mHeldSeq = 0;
};

}  // namespace qvnperfctl
