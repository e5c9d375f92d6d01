// SPDX-License-Identifier: Apache-2.0
// The integer-property table on a device: each value set as a real property must read as
// the table says through the device's own libcutils, and our reading rules must agree.

#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/PropertyInt32Cases.h"
#include "qvncam/platform/PropertyValue.h"

namespace {

// debug.* properties are settable from the shell that runs device tests.
constexpr char kName[] = "debug.qvncam.test.int32";

class PropertyInt32OnDevice : public ::testing::TestWithParam<PropertyInt32Case> {
  protected:
    void TearDown() override { property_set(kName, ""); }
};

TEST_P(PropertyInt32OnDevice, LibcutilsReadsAsTheTableAndOurRulesAgree) {
    const PropertyInt32Case& c = GetParam();
    if (property_set(kName, c.text) != 0)
        GTEST_SKIP() << "cannot set " << kName << " to \"" << c.text << '"';
    // Some releases clear a property set to "" or refuse blanks; only a value held as set
    // says anything.
    char held[PROPERTY_VALUE_MAX] = {};
    property_get(kName, held, "");
    if (std::string(held) != c.text)
        GTEST_SKIP() << "\"" << c.text << "\" is held as \"" << held << '"';

    const int32_t libcutils = ::property_get_int32(kName, kPropertyDefault);
    EXPECT_EQ(libcutils, c.value) << '"' << c.text << '"';
    EXPECT_EQ(qvncam::platform::readPropertyInt32(held, kPropertyDefault).value, libcutils)
        << '"' << c.text << '"';
}

INSTANTIATE_TEST_SUITE_P(Table, PropertyInt32OnDevice, ::testing::ValuesIn(kPropertyInt32Cases),
                         [](const ::testing::TestParamInfo<PropertyInt32Case>& info) {
                             return "Case" + std::to_string(info.index);
                         });

}  // namespace
