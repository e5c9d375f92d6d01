// SPDX-License-Identifier: Apache-2.0
#pragma once

// Shared pieces of the camera-operation tests: a fixture with its own controller and the
// recording power client, and a log helper. Every test case runs in a process of its own,
// so the doubles and properties start fresh.

#include <gtest/gtest.h>
#include <unistd.h>

#include "C2PSMachine.h"
#include "PerfCtrlHelper.h"
#include "PerfCtrlProperties.h"
#include "common/ControllerPeer.h"
#include "doubles/CustomDouble.h"
#include "doubles/RecordingPowerClient.h"
#include "common/LogCapture.h"
#include "qvncam/platform/JsonText.h"
#include "qvncam/platform/TestHook.h"

namespace camtest {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;
using Peer = Cam3PerfCtrlImpTestPeer;
using List = std::vector<int>;
using Issued = std::vector<std::tuple<int, List, int>>;  // handle passed, list, duration

inline void setProperty(const std::string& name, const std::string& value) {
    qvncam::platform::setPropertyOverride(name, value);
}

constexpr int kCluster0 = 0x400000, kCluster1 = 0x400100, kCluster2 = 0x400200;
constexpr int kGpuIdle = 0xc20000, kDramOpp = 0x1000000;
// clang-format off
inline const List kDefaultBoost = {0x414000, 1, kDramOpp, 0, kCluster0, 4000000, kCluster1, 4000000,
                                   kCluster2, 4000000, 0x2020000, 31, 0x1404300, 1, 0x1404100, 1};
inline const List kPlatform = {0x1010100, 1, 0x2008400, 1, 0x2004000, 1, kGpuIdle, 2, 0x1468000, 0,
                               0x1058000, 33330001};  // every switch at its default
// clang-format on

// Lines "P/Cam3PerfCtrl(pid): msg" of one priority (errors: msg followed by their suffix).
inline int countLog(const std::string& log, char prio, const std::string& msg) {
    const std::string text = "\n" + log, line = "\n" + std::string(1, prio) + "/Cam3PerfCtrl(" +
                                                std::to_string(getpid()) + "): " + msg +
                                                (prio == 'E' ? " (" : "\n");
    int n = 0;
    for (size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1))
        ++n;
    return n;
}

class CamTest : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(recpower::available()) << "recording power client not on LD_LIBRARY_PATH";
        ctrl = std::make_unique<Cam3PerfCtrlImp>();
    }
    // The acquires since the previous call.
    Issued issued() {
        const auto all = recpower::acquires();
        Issued out;
        for (size_t i = std::exchange(mSeen, all.size()); i < all.size(); ++i)
            out.emplace_back(all[i].handleIn, all[i].list, all[i].duration);
        return out;
    }

    std::unique_ptr<Cam3PerfCtrlImp> ctrl;
    size_t mSeen = 0;
};

}  // namespace camtest
