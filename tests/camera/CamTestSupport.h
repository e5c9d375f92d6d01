#pragma once

// Shared pieces of the camera-operation tests: a fixture with its own controller, the
// recording power client, property and log helpers, and a peer into the controller.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "C2PSMachine.h"
#include "Cam3PerfCtrlImp.h"
#include "PerfCtrlHelper.h"
#include "doubles/CustomDouble.h"
#include "doubles/RecordingPowerClient.h"
#include "qvncam/platform/HostControl.h"

namespace NSCam {
namespace NSCamFeature {
namespace NSCamPerfCtrl {

class Cam3PerfCtrlImpTestPeer {
  public:
    static void setLogLevel(Cam3PerfCtrlImp& c, int level) { c.miLogLevel.store(level); }
    static bool jsonEnabled(Cam3PerfCtrlImp& c) { return c.mbEnableJson; }
    static bool prepareJson(Cam3PerfCtrlImp& c, const QvncamJSONData& doc, JsonCmdSet& out) {
        return c.__prepareJsonCmds(doc, out);
    }
    static int scene(Cam3PerfCtrlImp& c) { return c.miCPUAffyScene.load(); }
};

}  // namespace NSCamPerfCtrl
}  // namespace NSCamFeature
}  // namespace NSCam

namespace camtest {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;
using Peer = Cam3PerfCtrlImpTestPeer;
using Pairs = std::vector<std::pair<int, int>>;
using qvncam::host::setProperty;

constexpr int kCluster0 = 0x400000, kCluster1 = 0x400100, kCluster2 = 0x400200;
constexpr int kGpuIdle = 0xc20000, kDramOpp = 0x1000000;

// Lists built from hash maps come in no particular order: compare them as sorted pairs.
inline Pairs sortedPairs(const std::vector<int>& list) {
    Pairs out;
    for (size_t i = 0; i + 1 < list.size(); i += 2)
        out.emplace_back(list[i], list[i + 1]);
    std::sort(out.begin(), out.end());
    return out;
}

inline const std::vector<int>& defaultBoostList() {
    static const std::vector<int> list = {
        0x414000,  1,       0x1000000, 0,  kCluster0, 4000000, kCluster1, 4000000,
        kCluster2, 4000000, 0x2020000, 31, 0x1404300, 1,       0x1404100, 1};
    return list;
}

// Debug lines need the logger's detail level and the controller's mask bits.
inline void enableDebugLog() {
    setProperty("vendor.debug.qvncam.ulog.detail", "5");
    setProperty("vendor.debug.qvncam.ulog.mask", "0x1001000");
    qvncam::host::reloadULogger();
}

// Lines "P/Cam3PerfCtrl(pid): msg" of one priority (errors: msg followed by their suffix).
inline int countLog(const std::string& log, char prio, const std::string& msg) {
    std::istringstream in(log);
    int n = 0;
    for (std::string line; std::getline(in, line);) {
        const size_t colon = line.find("): ");
        if (line.rfind(std::string(1, prio) + "/Cam3PerfCtrl(", 0) == 0 && colon != line.npos) {
            const std::string text = line.substr(colon + 3);
            n += prio == 'E' ? text.rfind(msg + " (", 0) == 0 : text == msg;
        }
    }
    return n;
}

// User strings show only as trace slice names "Cam3PerfCtrl:<user>", which operators
// begin when the log switch and the camera trace tag are on.
class TraceCapture {
  public:
    TraceCapture() : mPath(testing::TempDir() + "camtrace-" + std::to_string(getpid())) {
        std::remove(mPath.c_str());
        setenv("QVNCAM_TRACE_FILE", mPath.c_str(), 1);
        setProperty("debug.atrace.tags.enableflags", "0x400");
        setProperty("vendor.cam3perfctrl.log", "1");
    }
    std::vector<std::string> begun() const {
        std::vector<std::string> out;
        std::ifstream in(mPath);
        for (std::string line; std::getline(in, line);) {
            const size_t from = line.find('|', 2) + 1;
            if (line.rfind("S|", 0) == 0)
                out.push_back(line.substr(from, line.rfind('|') - from));
        }
        return out;
    }

  private:
    std::string mPath;
};

class CamTest : public testing::Test {
  protected:
    void SetUp() override {
        qvncam::host::clearAllProperties();
        qvncam::host::resetC2PSInit();
        ASSERT_TRUE(recpower::available()) << "recording power client not on LD_LIBRARY_PATH";
        recpower::reset();
        if (customdbl::available())
            customdbl::api()->reset();
        ctrl = std::make_unique<Cam3PerfCtrlImp>();
    }
    void TearDown() override {
        ctrl.reset();
        qvncam::host::clearAllProperties();
    }

    static size_t acquireCount() { return recpower::acquires().size(); }
    static std::vector<recpower::Acquire> acquiresFrom(size_t from) {
        auto all = recpower::acquires();
        all.erase(all.begin(), all.begin() + static_cast<long>(std::min(from, all.size())));
        return all;
    }

    std::unique_ptr<Cam3PerfCtrlImp> ctrl;
};

}  // namespace camtest
