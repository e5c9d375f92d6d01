// Boost tuning taken from the properties file that CMakeLists.txt writes for this
// executable, read when the library loads.

#include "CamTestSupport.h"

namespace camtest {
namespace {

using TunedBoostTest = CamTest;

TEST_F(TunedBoostTest, LoadTimeTuningShapesLevelsOneAndTwo) {
    setProperty("vendor.debug.camera.capturePpl.boost.cpu.freq.cluster0", "1");  // too late
    setProperty("vendor.debug.multicam.zoom.cpu1.freq", "5");
    // clang-format off
    struct { EPERF_BOOST_OPERATION level; int logLevel; std::vector<int> list; } rows[] = {
        {EPERF_BOOST_CAPTURE_PIPELINE, 0,
         {kCluster0, 2100000, kCluster1, 600000, kCluster2, 1900000, 0x1404300, 1, 0x1404100, 1}},
        {EPERF_BOOST_MULTICAM_ZOOM, 0, {kCluster0, 1000000, kCluster1, 1500000}},
        {EPERF_BOOST_MULTICAM_ZOOM, 1, {kCluster1, 1200000, kDramOpp, 3}},
        {EPERF_BOOST_DEFAULT, 1, defaultBoostList()}};
    // clang-format on
    for (const auto& row : rows) {
        SCOPED_TRACE("level " + std::to_string(row.level) + " log " + std::to_string(row.logLevel));
        Peer::setLogLevel(*ctrl, row.logLevel);
        auto op = ctrl->runPerfBoost(row.level, 100);
        EXPECT_EQ(recpower::acquires().back().list, row.list);
    }
}

}  // namespace
}  // namespace camtest
