#pragma once

// One camera session through every operation of the controller, as a pipeline runs it,
// for the fault tests: what each call returned is kept until the test drops it.

#include <sched.h>
#include <unistd.h>

#include <memory>
#include <vector>

#include "Cam3PerfCtrl.h"
#include "CustomDouble.h"

namespace faults {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

struct Session {
    std::shared_ptr<PerfOperatorHolder> enter;
    std::shared_ptr<PerfOperatorHolder> config;
    std::shared_ptr<InflightOperatorHolderImp> inflight;
    std::vector<std::shared_ptr<PerfOperator>> ops;  // boosts and per-task control
    bool setAffinity = false;
    int queryAffinity = 0;
};

// The CPUs this process may use, as a mask of the first eight.
inline int allowedMask() {
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof(set), &set);
    int mask = 0;
    for (int cpu = 0; cpu < 8; ++cpu) {
        mask |= CPU_ISSET(cpu, &set) ? 1 << cpu : 0;
    }
    return mask;
}

// Gives every customisation entry something to do, when the library has it.
inline void scriptCustomisation() {
    const customdbl::Api* c = customdbl::api();
    if (c == nullptr) {
        return;
    }
    c->reset();
    c->setOutCmd(CUSTOMDBL_ENTER, "PERF_RES_CPUFREQ_MIN_CLUSTER_0", 1200000);
    c->setOutCmd(CUSTOMDBL_CONFIG, "PERF_RES_CPUFREQ_MIN_CLUSTER_1", 1000000);
    c->setOutCmd(CUSTOMDBL_RUNTIME, "PERF_RES_CPUFREQ_MIN_CLUSTER_2", 900000);
    c->setOutCmd(CUSTOMDBL_RUNTIME, "PERF_RES_DRAM_OPP_MIN", 1);
    c->setOverwriteCmd(CUSTOMDBL_OVERWRITE_ENTER, "PERF_RES_CPUFREQ_MIN_CLUSTER_1", 1100000);
    c->setOverwriteCmd(CUSTOMDBL_OVERWRITE_CONFIG, "PERF_RES_CPUFREQ_MIN_CLUSTER_0", 1300000);
    c->setQueryMask(allowedMask());
}

inline Session runSession(Cam3PerfCtrl* ctrl) {
    Session s;
    s.enter = ctrl->enterPerfCtrl_EnterCamera(200);
    s.config = ctrl->enterPerfCtrl_ConfigureStream(qcam::StreamConfiguration());
    PerfCtrlSet set;
    set.enterCamOperator = std::dynamic_pointer_cast<PerfOperatorImp>(s.enter->getPerfOperator());
    if (s.config) {
        set.configCamOperator =
            std::dynamic_pointer_cast<PerfOperatorImp>(s.config->getPerfOperator());
    }
    for (int request = 0; request < 3; ++request) {
        set.inflightHolder = ctrl->enterPerfCtrl_InflightRequest(request, nullptr, set);
    }
    s.inflight = set.inflightHolder;
    if (s.inflight) {
        s.inflight->notifyRequestDone(0);
    }
    s.ops.push_back(ctrl->runPerfBoost(EPERF_BOOST_CAPTURE_PIPELINE, 200));
    s.ops.push_back(ctrl->runDefaultBoost(0));
    s.ops.push_back(ctrl->enablePerTaskEASControl(static_cast<int>(gettid()), 0x8003));
    s.setAffinity = ctrl->setAffinity();
    s.queryAffinity = ctrl->queryAffinity("faults");
    return s;
}

}  // namespace faults
