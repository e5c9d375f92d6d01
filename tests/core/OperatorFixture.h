// SPDX-License-Identifier: Apache-2.0
#pragma once

// The perf-operator tests' fixture: the recording power client, fresh, and no overrides.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "PerfCtrlProperties.h"
#include "PerfOperatorImp.h"
#include "doubles/RecordingPowerClient.h"
#include "qvncam/platform/TestHook.h"

namespace optest {

using namespace NSCam::NSCamFeature::NSCamPerfCtrl;

// A resource the debug listing names, then an id it does not know.
inline const std::vector<int> kCmds = {0x414000, 7, 0x7fffff00, 9};

class OperatorTest : public testing::Test {
  protected:
    void SetUp() override {
        qvncam::platform::clearPropertyOverrides();
        ASSERT_TRUE(recpower::available()) << "recording client not on LD_LIBRARY_PATH";
        recpower::reset();
    }
};

// A held, timed lock; handles count up from 1 in creation order.
inline std::shared_ptr<PerfOperator> makeOp() {
    return std::make_shared<PerfOperatorImp>(kCmds, 60000, "holder");
}

inline void setTraceAndLogLevel(bool cameraTrace, int logLevel) {
    qvncam::platform::setPropertyOverride("debug.atrace.tags.enableflags",
                                          cameraTrace ? "0x400" : "0");
    qvncam::platform::setPropertyOverride(PerfCtrlProperties::kLogLevel.name,
                                          std::to_string(logLevel));
}

}  // namespace optest
