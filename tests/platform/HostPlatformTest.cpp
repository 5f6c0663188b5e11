#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "platform/Log.h"
#include "platform/Property.h"
#include "support/LogCapture.h"
#include "utilPlatformHost.h"

namespace {

using velmo::testing::ScopedProperties;

// What two log lines leave on stderr with VELMO_LOG set to `env` (nullptr:
// unset), through the default sink or the one given.
std::string stderrWith(const char* env, quentra::host::LogSink sink = nullptr) {
    env != nullptr ? setenv("VELMO_LOG", env, 1) : unsetenv("VELMO_LOG");
    quentra::host::setLogSink(sink, nullptr);
    testing::internal::CaptureStderr();
    VELMO_LOG("OISWarpMap", "a\n");
    VELMO_LOG("MMapRotate", "kept %d", 1);
    quentra::host::setLogSink(nullptr, nullptr);
    unsetenv("VELMO_LOG");
    return testing::internal::GetCapturedStderr();
}

// (A replaced sink gets every line as formatted: LogCapture is that sink for
// every test that checks log lines with their tag and module.)

// The default sink writes debug lines only when asked; the stderr sink always.
// Both add the tag and a missing newline.
TEST(HostPlatform, StderrSinksWriteTagAndNewline) {
    const std::string both = "D OISWarpMap: a\nD MMapRotate: kept 1\n";
    EXPECT_EQ(stderrWith("1"), both);
    EXPECT_EQ(stderrWith(nullptr), "");
    EXPECT_EQ(stderrWith(""), "");
    EXPECT_EQ(stderrWith("0"), "");
    EXPECT_EQ(stderrWith(nullptr, &quentra::host::stderrLogSink), both);
}

TEST(HostPlatform, PropertiesSetReadRemoveAndCutToTheAndroidMaximum) {
    ScopedProperties props;
    char value[velmo::kPropertyBufferSize];
    EXPECT_FALSE(velmo::readProperty("vendor.debug.x", value));
    EXPECT_STREQ(value, "");
    props.set("vendor.debug.x", std::string(200, '7').c_str());
    ASSERT_TRUE(velmo::readProperty("vendor.debug.x", value));
    EXPECT_EQ(std::string(value), std::string(91, '7'));
    props.set("vendor.debug.x", nullptr);
    EXPECT_FALSE(velmo::readProperty("vendor.debug.x", value));
}

}  // namespace
