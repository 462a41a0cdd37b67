#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>
#include <unistd.h>

#include "CaptureFixtures.h"
#include "TavrinKit/Capture/CaptureTypes.h"

namespace tavrin {
namespace {

TEST(CaptureOptionsJson, HasTheStoredForm) {
    const Json stored = Json::parse(R"({
        "target": {"area": {"displayID": "69", "rect": [[10.5, -20], [800, 600]]}},
        "excludeCursorFromSource": true,
        "audio": {"includeSystemAudio": true, "includeMicrophone": false},
        "camera": {"includeCamera": true, "preferredDeviceID": "c", "allowFailureFallbackToScreenOnly": false},
        "mappingContext": {"sourceBounds": [[0, -180], [1440, 900]], "mainDisplayHeight": 1080},
        "applicationExclusionRule": {"bundleIdentifiers": ["org.a", "org.b"], "processIdentifiers": [-1, 7]}
    })");
    CaptureOptions options;
    decode(stored, options);
    EXPECT_EQ(options.target, RecordingTarget::area("69", {10.5, -20, 800, 600}));
    EXPECT_EQ(options.mappingContext->sourceBounds, (Rect{0, -180, 1440, 900}));
    Json json;
    encode(json, options);
    EXPECT_EQ(json, stored);
}

TEST(CaptureOptionsJson, FillsInWhatIsMissing) {
    const auto options = decodeDocument<CaptureOptions>(R"({"target":{"display":{"displayID":"5"}}})");
    CaptureOptions expected;
    expected.target = RecordingTarget::display("5");
    expected.applicationExclusionRule = CaptureApplicationExclusionRule::currentProcess();
    EXPECT_EQ(options, expected);
    EXPECT_TRUE(options.camera.allowFailureFallbackToScreenOnly);
    EXPECT_TRUE(options.applicationExclusionRule.processIdentifiers.contains(getpid()));
}

TEST(ExclusionRule, NamesTheDesktopEntryOnlyOfThisProcess) {
    setenv("GIO_LAUNCHED_DESKTOP_FILE", "/usr/share/applications/org.tavrin.Tavrin.desktop", 1);
    setenv("GIO_LAUNCHED_DESKTOP_FILE_PID", "1", 1);
    EXPECT_TRUE(CaptureApplicationExclusionRule::currentProcess().bundleIdentifiers.empty());
    setenv("GIO_LAUNCHED_DESKTOP_FILE_PID", std::to_string(getpid()).c_str(), 1);
    EXPECT_TRUE(
        CaptureApplicationExclusionRule::currentProcess().bundleIdentifiers.contains("org.tavrin.Tavrin"));
    unsetenv("GIO_LAUNCHED_DESKTOP_FILE");
    unsetenv("GIO_LAUNCHED_DESKTOP_FILE_PID");
}

} // namespace
} // namespace tavrin
