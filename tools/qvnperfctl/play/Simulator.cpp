#include "play/Simulator.h"

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <thread>

#include "C2PSMachine.h"
#include "play/DumpStep.h"
#include "play/ServiceProbe.h"
#include "qvncam/platform/Clock.h"
#include "qvncam/platform/HostControl.h"
#include "qvncam/platform/VirtualClock.h"

namespace qvnperfctl {
namespace {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

using Notes = std::vector<std::string>;

std::string hex(unsigned value) {
    char buf[16];
    std::snprintf(buf, sizeof buf, "0x%x", value);
    return buf;
}

// The CPUs the calling thread may run on, as "0-1" or "0,2".
std::string currentCpus() {
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) != 0)
        return "?";
    std::string text;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (!CPU_ISSET(cpu, &set))
            continue;
        int last = cpu;
        while (last + 1 < CPU_SETSIZE && CPU_ISSET(last + 1, &set))
            ++last;
        if (!text.empty())
            text += ",";
        text += std::to_string(cpu);
        if (last > cpu)
            text += "-" + std::to_string(last);
        cpu = last;
    }
    return text;
}

std::string describeStreams(const ConfigureStep& s) {
    std::string text;
    for (const auto& stream : s.config.streams) {
        if (!text.empty())
            text += ", ";
        text += stream.streamType == 0 ? "" : "input ";
        text += std::to_string(stream.width);
        if (stream.height)
            text += "x" + std::to_string(stream.height);
        if (stream.usage & qcam::BUFFER_USAGE_VIDEO_ENCODER) {
            text += " video";
        } else if (stream.usage &
                   (qcam::BUFFER_USAGE_GPU_TEXTURE | qcam::BUFFER_USAGE_COMPOSER_OVERLAY)) {
            text += " display";
        }
    }
    if (text.empty())
        text = "no streams";
    if (s.fps) {
        text += ", " + std::to_string(s.fps->first) + "-" + std::to_string(s.fps->second) + " fps";
    }
    return text;
}

// Switches the process to the virtual clock for the life of a simulation.
class VirtualTime {
  public:
    explicit VirtualTime(bool on) : mOn(on) {
        if (mOn)
            qvncam::host::useVirtualClock(qvncam::platform::clock_now_us());
    }
    ~VirtualTime() {
        if (mOn)
            qvncam::host::useSystemClock();
    }
    VirtualTime(const VirtualTime&) = delete;
    VirtualTime& operator=(const VirtualTime&) = delete;

  private:
    bool mOn;
};

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

class Simulator {
  public:
    Simulator(const Session& session, Cam3PerfCtrl& ctrl, PropertyFile& properties,
              const PlayOptions& options)
        : mSession(session),
          mCtrl(ctrl),
          mProperties(properties),
          mRealTime(options.realTime),
          mVirtualTime(!options.realTime),
          mCustomOrigins(options.origins) {}

    Timeline run() {
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

  private:
    struct Action {
        std::string label;
        int line;
        bool perRequest;
        std::function<void(Notes&)> run;
    };

    // One timeline entry: the lock events `action` causes and the effective values after it.
    // `roles` name the locks the action asks for, in order; the last one names any more.
    void entry(const std::string& label, const std::function<void(Notes&)>& action,
               bool perRequest = false, std::vector<std::string> roles = {}) {
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

    void addEntry(Entry e) {
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

    // Locks the service ended by their duration since the last look, as an entry of their own.
    void flushExpiries() {
        auto events = mProbe.takeEvents();
        if (events.empty())
            return;
        Entry e;
        e.timeUs = events.front().timeUs;
        e.step = "expiry";
        e.events = std::move(events);
        addEntry(std::move(e));
    }

    void schedule(int64_t dueUs, std::string label, std::function<void(Notes&)> run,
                  bool perRequest = false) {
        mAgenda.emplace(dueUs, Action{std::move(label), mLine, perRequest, std::move(run)});
    }

    // Lets time pass until `targetUs`, running due actions and noting expiries as they
    // happen.
    void advanceTo(int64_t targetUs) {
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

    void play(const OpenStep& s) {
        // The controller takes its locks in this order.
        std::vector<std::string> roles = {
            "open camera: platform", "open camera: default boost",
            "open camera: custom (" + mCustomOrigins.enterCamera + ")"};
        entry(
            "open camera, boost " + std::to_string(s.boostMs) + " ms",
            [&](Notes&) {
                mEnterHolder = mCtrl.enterPerfCtrl_EnterCamera(s.boostMs);
                mSet.enterCamOperator =
                    std::dynamic_pointer_cast<PerfOperatorImp>(mEnterHolder->getPerfOperator());
            },
            false, std::move(roles));
    }

    void play(const ConfigureStep& s) {
        entry("configure " + describeStreams(s),
              [&](Notes& notes) {
                  // The pipeline tears the old streams down before it configures new ones.
                  mSet.configCamOperator.reset();
                  mConfigHolder.reset();
                  mConfigHolder = mCtrl.enterPerfCtrl_ConfigureStream(s.config);
                  if (!mConfigHolder) {
                      notes.push_back("no configure-stream lock (no customisation library)");
                      return;
                  }
                  mSet.configCamOperator =
                      std::dynamic_pointer_cast<PerfOperatorImp>(mConfigHolder->getPerfOperator());
              },
              false, {"configure: custom (" + mCustomOrigins.configureStream + ")"});
    }

    void play(const RequestsStep& s) {
        static const NSCam::IMetadata kNoMetadata;
        const int first = s.first;
        const int64_t intervalUs = int64_t{s.intervalMs} * 1000;
        const int64_t startUs = mProbe.nowUs();
        for (int i = 0; i < s.count; ++i) {
            const int64_t submitUs = startUs + i * intervalUs;
            advanceTo(submitUs);
            const int id = first + i;
            const size_t which = s.metadata.empty() ? 0 : i % s.metadata.size();
            const auto* meta = s.metadata.empty() ? &kNoMetadata : &s.metadata[which];
            std::string label = "request " + std::to_string(id);
            if (!s.metadata.empty() && !s.metadataLabels[which].empty()) {
                label += " (" + s.metadataLabels[which] + ")";
            }
            entry(label,
                  [&](Notes&) {
                      auto holder = mCtrl.enterPerfCtrl_InflightRequest(id, meta, mSet);
                      if (holder)
                          mSet.inflightHolder = holder;
                  },
                  true, {"request " + std::to_string(id)});
            schedule(
                submitUs + s.completeAfter * intervalUs, "request " + std::to_string(id) + " done",
                [this, id](Notes&) {
                    if (mSet.inflightHolder)
                        mSet.inflightHolder->notifyRequestDone(id);
                },
                true);
        }
        // The step ends when its last request has completed.
        advanceTo(startUs + (s.count - 1 + s.completeAfter) * intervalUs);
    }

    void play(const BoostStep& s) {
        std::string label =
            s.defaultBoost ? "default boost" : "boost level " + std::to_string(s.level);
        std::string role =
            s.defaultBoost ? "default boost" : "boost level " + std::to_string(s.level);
        label += ", " + std::to_string(s.timeoutMs) + " ms";
        entry(label,
              [&](Notes& notes) {
                  std::unique_ptr<PerfOperator> op =
                      s.defaultBoost
                          ? mCtrl.runDefaultBoost(s.timeoutMs)
                          : mCtrl.runPerfBoost(static_cast<EPERF_BOOST_OPERATION>(s.level),
                                               s.timeoutMs);
                  if (!op) {
                      notes.push_back("no boost for this level");
                      return;
                  }
                  if (!op->isAlive())
                      notes.push_back("the lock was not granted");
                  if (s.releaseAfterMs) {
                      hold(std::move(op), *s.releaseAfterMs, "boost released");
                  } else if (s.timeoutMs > 0) {
                      // Left to the service's clock: a detached operator never releases.
                      op->detach();
                  } else {
                      hold(std::move(op), -1, "");
                  }
              },
              false, {role});
    }

    void play(const AffinityStep& s) {
        entry("affinity for thread " + s.thread, [&](Notes&) {
            int mask = 0;
            bool placed = false;
            std::string cpus;
            std::thread worker([&] {
                pthread_setname_np(pthread_self(), s.thread.c_str());
                mask = mCtrl.queryAffinity(s.thread.c_str());
                placed = mCtrl.setAffinity();
                cpus = currentCpus();
            });
            worker.join();
            const std::string maskText =
                mask ? "mask " + hex(static_cast<unsigned>(mask)) : "no mask";
            mMarks.push_back("thread " + s.thread +
                             (placed ? " on CPUs " + cpus + " (" + maskText + ")"
                                     : " not placed (" + maskText + "), on CPUs " + cpus));
        });
    }

    void play(const EasStep& s) {
        const int self = mRealTime ? static_cast<int>(::gettid()) : kSimulatedPipelineTid;
        const int tid = s.tid.value_or(self);
        entry("EAS control for task " + std::to_string(tid) + (s.tid ? "" : " (self)") +
                  ", flags " + hex(static_cast<unsigned>(s.flags)),
              [&](Notes& notes) {
                  auto op =
                      mCtrl.enablePerTaskEASControl(tid, static_cast<unsigned short>(s.flags));
                  if (!op) {
                      notes.push_back("nothing requested (needs a task id of 1 or more and flags)");
                      return;
                  }
                  if (!op->isAlive())
                      notes.push_back("the lock was not granted");
                  hold(std::move(op), s.releaseAfterMs.value_or(-1), "EAS control released");
              },
              false, {"EAS task " + std::to_string(tid)});
    }

    void play(const PropStep& s) {
        entry("property " + s.name + "=" + s.value, [&](Notes& notes) {
            mProperties.set(s.name, s.value);
            if (!mProperties.write())
                notes.push_back("could not write " + mProperties.path());
            if (readAtLibraryLoad(s.name)) {
                notes.push_back(
                    "read only when the library loads: set it in the session's "
                    "\"properties\" or with --prop");
            }
        });
    }

    void play(const WaitStep& s) {
        entry("wait " + std::to_string(s.ms) + " ms", [](Notes&) {});
        advanceTo(mTimeline.entries.back().timeUs + int64_t{s.ms} * 1000);
    }

    void play(const CloseStep&) {
        entry("close camera", [&](Notes&) { releaseEverything(); });
    }

    void play(const DumpStep&) {
        entry("dump", [&](Notes& notes) { notes = dumpStepNotes(mProbe.liveLocks()); });
    }

    // Keeps an operator; releases it after `releaseAfterMs`, or at close when negative.
    void hold(std::unique_ptr<PerfOperator> op, int releaseAfterMs, const std::string& label) {
        int key = ++mHeldSeq;
        mHeld[key] = std::move(op);
        if (releaseAfterMs >= 0) {
            schedule(mProbe.nowUs() + int64_t{releaseAfterMs} * 1000, label,
                     [this, key](Notes&) { mHeld.erase(key); });
        }
    }

    // What a pipeline does when the camera closes: requests, streams, camera, then the rest.
    void releaseEverything() {
        mAgenda.clear();
        mSet.inflightHolder.reset();
        mSet.configCamOperator.reset();
        mConfigHolder.reset();
        mSet.enterCamOperator.reset();
        mEnterHolder.reset();
        mHeld.clear();
    }

    void summarise() {
        mTimeline.endUs = mProbe.nowUs();
        mTimeline.counters = mProbe.counters();
        // One snapshot: the locks without expiry are the leaks, the rest still run.
        for (auto& lock : mProbe.liveLocks()) {
            (lock.timeLeftMs < 0 ? mTimeline.leaks : mTimeline.stillTimed)
                .push_back(std::move(lock));
        }
        for (auto* list : {&mTimeline.leaks, &mTimeline.stillTimed}) {
            for (auto& lock : *list)
                lock.origin = mTimeline.lockOrigin[lock.handle];
        }
    }

    const Session& mSession;
    Cam3PerfCtrl& mCtrl;
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

    std::shared_ptr<PerfOperatorHolder> mEnterHolder;
    std::shared_ptr<PerfOperatorHolder> mConfigHolder;
    PerfCtrlSet mSet;
    std::map<int, std::unique_ptr<PerfOperator>> mHeld;
    int mHeldSeq = 0;
};

}  // namespace

Timeline simulate(const Session& session, Cam3PerfCtrl& ctrl, PropertyFile& properties,
                  const PlayOptions& options) {
    return Simulator(session, ctrl, properties, options).run();
}

}  // namespace qvnperfctl
