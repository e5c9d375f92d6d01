// SPDX-License-Identifier: Apache-2.0
#include "play/Simulator.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <thread>
#include <utility>

#include "C2PSMachine.h"
#include "play/Simulation.h"
#include "qvncam/platform/Clock.h"
#include "qvncam/platform/HostControl.h"
#include "qvncam/platform/VirtualClock.h"

namespace qvnperfctl {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

namespace {

// The C2PS set-up the controller made since the last look, as one line.
std::optional<std::string> takeC2PSInit() {
    C2PSInitParams p{};
    if (!qvncam::host::lastC2PSInit(&p))
        return std::nullopt;
    qvncam::host::resetC2PSInit();
    char text[160];
    std::snprintf(text, sizeof text,
                  "C2PS set up: scenario %d, %d fps, feature %d, um ratio %d, um min %d%s%s",
                  p.scenario, p.fps, p.featureCustomization, p.lmcoreUmRatio, p.umMin,
                  p.disableIneffCpufreq ? ", inefficient frequencies off" : "",
                  p.pfPolicy ? ", pf policy" : "");
    return std::string(text);
}

}  // namespace

VirtualTime::VirtualTime(bool on) : mOn(on) {
    if (mOn)
        qvncam::host::useVirtualClock(qvncam::platform::clock_now_us());
}

VirtualTime::~VirtualTime() {
    if (mOn)
        qvncam::host::useSystemClock();
}

Simulation::Simulation(const Session& session, Cam3PerfCtrl& ctrl, PropertyFile& properties,
                       const PlayOptions& options)
    : mSession(session),
      mCtrl(ctrl),
      mProperties(properties),
      mRealTime(options.realTime),
      mVirtualTime(!options.realTime),
      mCustomOrigins(options.origins) {}

Timeline Simulation::run() {
    mTimeline.sessionPath = mSession.path;
    mTimeline.description = mSession.description;
    for (const auto& step : mSession.steps) {
        mLine = step.line;
        std::visit([this](const auto& action) { play(action); }, step.action);
    }
    mLine = 0;
    while (!mAgenda.empty())
        advanceTo(mAgenda.begin()->first);
    flushExpiries();
    summarise();
    releaseEverything();
    return std::move(mTimeline);
}

void Simulation::entry(const std::string& label, const std::function<void(Notes&)>& action,
                       bool perRequest, std::vector<std::string> roles) {
    flushExpiries();
    mRoles = std::move(roles);
    Entry e;
    e.timeUs = mProbe.nowUs();
    e.step = label;
    e.scriptLine = mLine;
    e.perRequest = perRequest;
    action(e.notes);
    e.events = mProbe.takeEvents();
    e.marks = std::move(mMarks);
    mMarks.clear();
    if (auto c2ps = takeC2PSInit())
        e.marks.push_back(*c2ps);
    addEntry(std::move(e));
}

void Simulation::addEntry(Entry e) {
    size_t asked = 0;
    for (const auto& event : e.events) {
        const bool isNew = event.kind == LockEventKind::Granted ||
                           (event.kind == LockEventKind::Refused && event.handle == 0);
        std::string role = e.step;
        if (isNew && !mRoles.empty())
            role = mRoles[std::min(asked++, mRoles.size() - 1)];
        if (event.kind == LockEventKind::Granted) {
            mTimeline.lockOrigin[event.handle] = e.step;
            mTimeline.lockRole[event.handle] = role;
        }
    }
    mRoles.clear();
    auto effective = mProbe.effective();
    const auto& entries = mTimeline.entries;
    if (!entries.empty() && *entries.back().effective == effective) {
        e.effective = entries.back().effective;
    } else {
        e.effective = std::make_shared<const std::vector<ResourceValue>>(std::move(effective));
    }
    mTimeline.entries.push_back(std::move(e));
}

void Simulation::flushExpiries() {
    auto events = mProbe.takeEvents();
    if (events.empty())
        return;
    Entry e;
    e.timeUs = events.front().timeUs;
    e.step = "expiry";
    e.events = std::move(events);
    addEntry(std::move(e));
}

void Simulation::schedule(int64_t dueUs, std::string label, std::function<void(Notes&)> run,
                          bool perRequest) {
    mAgenda.emplace(dueUs, Action{std::move(label), mLine, perRequest, std::move(run)});
}

void Simulation::advanceTo(int64_t targetUs) {
    for (;;) {
        int64_t now = mProbe.nowUs();
        flushExpiries();
        if (!mAgenda.empty() && mAgenda.begin()->first <= now) {
            auto node = mAgenda.extract(mAgenda.begin());
            int line = mLine;
            mLine = node.mapped().line;
            entry(node.mapped().label, node.mapped().run, node.mapped().perRequest);
            mLine = line;
            continue;
        }
        if (now >= targetUs)
            return;
        int64_t next = targetUs;
        if (!mAgenda.empty())
            next = std::min(next, mAgenda.begin()->first);
        if (auto expiry = mProbe.nextExpiryUs()) {
            // The service ends a lock at the first call at or after its time. On the
            // virtual clock that is the time itself; in real time, look just after.
            int64_t look = mRealTime ? *expiry + 200 : *expiry;
            next = std::min(next, look > now ? look : now + 1000);
        }
        if (mRealTime) {
            std::this_thread::sleep_for(std::chrono::microseconds(next - now));
        } else {
            qvncam::host::advanceClockBy(next - now);
        }
    }
}

void Simulation::releaseEverything() {
    mAgenda.clear();
    mSet.inflightHolder.reset();
    mSet.configCamOperator.reset();
    mConfigHolder.reset();
    mSet.enterCamOperator.reset();
    mEnterHolder.reset();
    mHeld.clear();
}

void Simulation::summarise() {
    mTimeline.endUs = mProbe.nowUs();
    mTimeline.counters = mProbe.counters();
    // One snapshot: the locks without expiry are the leaks, the rest still run.
    for (auto& lock : mProbe.liveLocks()) {
        (lock.timeLeftMs < 0 ? mTimeline.leaks : mTimeline.stillTimed).push_back(std::move(lock));
    }
    for (auto* list : {&mTimeline.leaks, &mTimeline.stillTimed}) {
        for (auto& lock : *list)
            lock.origin = mTimeline.lockOrigin[lock.handle];
    }
}

Timeline simulate(const Session& session, Cam3PerfCtrl& ctrl, PropertyFile& properties,
                  const PlayOptions& options) {
    return Simulation(session, ctrl, properties, options).run();
}

}  // namespace qvnperfctl
