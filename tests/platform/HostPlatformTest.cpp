#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "platform/Log.h"
#include "platform/Property.h"
#include "support/LogCapture.h"
#include "utilPlatformHost.h"

namespace {

using velmo::testing::LogCapture;
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

// A replaced sink gets every line as formatted, uncut, whatever the
// environment says.
TEST(HostPlatform, LogLinesReachTheSinkAsFormatted) {
    setenv("VELMO_LOG", "0", 1);
    LogCapture capture;
    const std::string longText(5000, 'x');
    VELMO_LOG("GenSize", "[GenSizeInit] version %s\n", "v3");
    VELMO_LOG("MMapRotate", "no newline %d", 7);
    VELMO_LOG("GenSize", "%s", longText.c_str());
    unsetenv("VELMO_LOG");
    ASSERT_EQ(capture.lines().size(), 3u);
    EXPECT_EQ(capture.lines()[0].module, 0x10004001);
    EXPECT_EQ(capture.lines()[0].tag, "GenSize");
    EXPECT_EQ(capture.texts(), (std::vector<std::string>{"[GenSizeInit] version v3\n", "no newline 7", longText}));
}

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
