#include <gtest/gtest.h>

#include <string>

#include "platform/Property.h"
#include "support/LogCapture.h"

namespace {

// A value is cut to the 91 characters an Android property holds.
TEST(HostPlatform, PropertiesSetReadRemoveAndCutToTheAndroidMaximum) {
    velmo::testing::ScopedProperties props;
    char value[velmo::kPropertyBufferSize];
    props.set("vendor.debug.x", std::string(200, '7').c_str());
    ASSERT_TRUE(velmo::readProperty("vendor.debug.x", value));
    EXPECT_EQ(std::string(value), std::string(91, '7'));
    props.set("vendor.debug.x", nullptr);
    EXPECT_FALSE(velmo::readProperty("vendor.debug.x", value));
    EXPECT_STREQ(value, "");
}

}  // namespace
