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

TEST(HostPlatform, LogLinesReachTheSinkAsFormatted) {
    LogCapture capture;
    VELMO_LOG("GenSize", "[GenSizeInit] version %s\n", "v3");
    VELMO_LOG("MMapRotate", "no newline %d", 7);
    ASSERT_EQ(capture.lines().size(), 2u);
    EXPECT_EQ(capture.lines()[0].module, 0x10004001);
    EXPECT_EQ(capture.lines()[0].tag, "GenSize");
    EXPECT_EQ(capture.lines()[0].text, "[GenSizeInit] version v3\n");
    EXPECT_EQ(capture.lines()[1].text, "no newline 7");
}

TEST(HostPlatform, LongLinesAreNotCut) {
    LogCapture capture;
    const std::string text(5000, 'x');
    VELMO_LOG("GenSize", "%s", text.c_str());
    ASSERT_EQ(capture.lines().size(), 1u);
    EXPECT_EQ(capture.lines()[0].text, text);
}

// Sets VELMO_LOG (nullptr unsets it) for a test and restores it afterwards.
class ScopedLogEnvironment {
public:
    explicit ScopedLogEnvironment(const char* value) {
        const char* old = std::getenv("VELMO_LOG");
        hadValue_ = old != nullptr;
        if (hadValue_) old_ = old;
        set(value);
    }
    ~ScopedLogEnvironment() { set(hadValue_ ? old_.c_str() : nullptr); }
    ScopedLogEnvironment(const ScopedLogEnvironment&) = delete;
    ScopedLogEnvironment& operator=(const ScopedLogEnvironment&) = delete;

private:
    static void set(const char* value) {
        if (value == nullptr) {
            unsetenv("VELMO_LOG");
        } else {
            setenv("VELMO_LOG", value, 1);
        }
    }

    bool hadValue_ = false;
    std::string old_;
};

TEST(HostPlatform, DefaultSinkWritesTagAndAddsMissingNewlineWhenAsked) {
    ScopedLogEnvironment verbose("1");
    testing::internal::CaptureStderr();
    VELMO_LOG("OISWarpMap", "a\n");
    VELMO_LOG("OISWarpMap", "b");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "D OISWarpMap: a\nD OISWarpMap: b\n");
}

TEST(HostPlatform, DefaultSinkDropsDebugLinesUnlessAsked) {
    for (const char* value : {static_cast<const char*>(nullptr), "", "0"}) {
        ScopedLogEnvironment quiet(value);
        testing::internal::CaptureStderr();
        VELMO_LOG("GenSize", "[GenSizeInit] dropped\n");
        EXPECT_EQ(testing::internal::GetCapturedStderr(), "") << "VELMO_LOG=" << (value ? value : "(unset)");
    }
}

TEST(HostPlatform, StderrSinkWritesEveryLine) {
    ScopedLogEnvironment quiet(nullptr);
    quentra::host::setLogSink(&quentra::host::stderrLogSink, nullptr);
    testing::internal::CaptureStderr();
    VELMO_LOG("MMapRotate", "kept %d", 1);
    const std::string written = testing::internal::GetCapturedStderr();
    quentra::host::setLogSink(nullptr, nullptr);
    EXPECT_EQ(written, "D MMapRotate: kept 1\n");
}

TEST(HostPlatform, ReplacedSinkReceivesLinesWhateverTheEnvironment) {
    ScopedLogEnvironment quiet("0");
    LogCapture capture;
    VELMO_LOG("GenSize", "line\n");
    ASSERT_EQ(capture.lines().size(), 1u);
    EXPECT_EQ(capture.lines()[0].text, "line\n");
}

TEST(HostPlatform, PropertiesSetReadRemove) {
    ScopedProperties props;
    char value[velmo::kPropertyBufferSize];
    EXPECT_FALSE(velmo::readProperty("vendor.debug.x", value));
    EXPECT_STREQ(value, "");

    props.set("vendor.debug.x", "2");
    ASSERT_TRUE(velmo::readProperty("vendor.debug.x", value));
    EXPECT_STREQ(value, "2");

    props.set("vendor.debug.x", nullptr);
    EXPECT_FALSE(velmo::readProperty("vendor.debug.x", value));
}

TEST(HostPlatform, PropertyValuesAreCutToTheAndroidMaximum) {
    ScopedProperties props;
    const std::string longValue(200, '7');
    props.set("k", longValue.c_str());
    char value[velmo::kPropertyBufferSize];
    ASSERT_TRUE(velmo::readProperty("k", value));
    EXPECT_EQ(std::string(value), std::string(91, '7'));
}

}  // namespace
