// SPDX-License-Identifier: Apache-2.0
// The players of each step kind: each calls the controller as a camera pipeline would
// and records what it did as one timeline entry.

#include <pthread.h>
#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <thread>

#include "play/Simulation.h"

namespace qvnperfctl {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

namespace {

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

}  // namespace

void Simulation::play(const OpenStep& s) {
    // The controller takes its locks in this order.
    std::vector<std::string> roles = {"open camera: platform", "open camera: default boost",
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

void Simulation::play(const ConfigureStep& s) {
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

void Simulation::play(const RequestsStep& s) {
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

void Simulation::play(const BoostStep& s) {
    std::string label = s.defaultBoost ? "default boost" : "boost level " + std::to_string(s.level);
    std::string role = s.defaultBoost ? "default boost" : "boost level " + std::to_string(s.level);
    label += ", " + std::to_string(s.timeoutMs) + " ms";
    entry(label,
          [&](Notes& notes) {
              std::unique_ptr<PerfOperator> op =
                  s.defaultBoost ? mCtrl.runDefaultBoost(s.timeoutMs)
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

void Simulation::play(const AffinityStep& s) {
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
        const std::string maskText = mask ? "mask " + hex(static_cast<unsigned>(mask)) : "no mask";
        mMarks.push_back("thread " + s.thread +
                         (placed ? " on CPUs " + cpus + " (" + maskText + ")"
                                 : " not placed (" + maskText + "), on CPUs " + cpus));
    });
}

void Simulation::play(const EasStep& s) {
    const int self = mRealTime ? static_cast<int>(::gettid()) : kSimulatedPipelineTid;
    const int tid = s.tid.value_or(self);
    entry("EAS control for task " + std::to_string(tid) + (s.tid ? "" : " (self)") + ", flags " +
              hex(static_cast<unsigned>(s.flags)),
          [&](Notes& notes) {
              auto op = mCtrl.enablePerTaskEASControl(tid, static_cast<unsigned short>(s.flags));
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

void Simulation::play(const PropStep& s) {
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

void Simulation::play(const WaitStep& s) {
    entry("wait " + std::to_string(s.ms) + " ms", [](Notes&) {});
    advanceTo(mTimeline.entries.back().timeUs + int64_t{s.ms} * 1000);
}

void Simulation::play(const CloseStep&) {
    entry("close camera", [&](Notes&) { releaseEverything(); });
}

void Simulation::play(const DumpStep&) {
    entry("dump", [&](Notes& notes) {
        const auto now = mRealTime ? std::nullopt : std::optional<int64_t>(mProbe.nowUs());
        notes = dumpStepNotes(mProbe.liveLocks(), now);
    });
}

void Simulation::hold(std::unique_ptr<PerfOperator> op, int releaseAfterMs,
                      const std::string& label) {
    int key = ++mHeldSeq;
    mHeld[key] = std::move(op);
    if (releaseAfterMs >= 0) {
        schedule(mProbe.nowUs() + int64_t{releaseAfterMs} * 1000, label,
                 [this, key](Notes&) { mHeld.erase(key); });
    }
}

}  // namespace qvnperfctl
