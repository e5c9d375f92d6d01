#include <gtest/gtest.h>

#include "qvncam/platform/HostControl.h"
#include "qvncam/platform/ProcessProfiles.h"

namespace qvncam {
namespace {

TEST(ProcessProfilesTest, KnowsOnlyItsOwnNames) {
    EXPECT_TRUE(platform::SetProcessProfiles(0, 0, {"ProcessCapacityNormal"}));
    EXPECT_FALSE(platform::SetProcessProfiles(0, 0, {"ProcessCapacityHigh"}));
    EXPECT_FALSE(platform::SetProcessProfiles(0, 0, {"ProcessCapacityNormal", "Other"}));
    host::forceProcessProfilesFailure(true);
    EXPECT_FALSE(platform::SetProcessProfiles(0, 0, {"ProcessCapacityNormal"}));
    host::forceProcessProfilesFailure(false);
    EXPECT_TRUE(platform::SetProcessProfiles(0, 0, {"ProcessCapacityNormal"}));
}

}  // namespace
}  // namespace qvncam
