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

    options.target = RecordingTarget::window("00123");
    options.camera.preferredDeviceID.reset();
    options.mappingContext.reset();
    encode(json, options);
    EXPECT_EQ(json["target"], Json::parse(R"({"window": {"windowID": "00123"}})"));
    EXPECT_FALSE(json.contains("mappingContext"));
    EXPECT_FALSE(json["camera"].contains("preferredDeviceID"));
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

TEST(CaptureOptionsJson, RefusesWhatIsIncomplete) {
    const std::string target = R"("target":{"display":{"displayID":"5"}})";
    const std::string notOne = "Invalid number of keys found, expected one.";
    const std::string missing = "The key is missing.";
    const std::pair<std::string, std::string> cases[] = {
        {"{}", missing},
        {"{" + target + R"(,"audio":{"includeSystemAudio":true}})", missing},
        {"{" + target + R"(,"camera":{"includeCamera":true}})", missing},
        {"{" + target + R"(,"applicationExclusionRule":{"bundleIdentifiers":[]}})", missing},
        {R"({"target":{"area":{"displayID":"5"}}})", missing},
        {R"({"target":{}})", notOne},
        {R"({"target":{"screen":{"displayID":"1"}}})", notOne},
        {R"({"target":{"display":{"displayID":"1"},"window":{"windowID":"2"}}})", notOne},
    };
    for (const auto& [text, reason] : cases) {
        const auto error =
            test::failureOf<JsonError>([&] { static_cast<void>(decodeDocument<CaptureOptions>(text)); });
        EXPECT_EQ(error.reason(), reason) << text;
    }
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

TEST(CaptureDurations, AreNeverNegativeNorInfinite) {
    constexpr double inf = std::numeric_limits<double>::infinity();
    const struct {
        double start, end, screen, camera;
    } cases[] = {{5, 7.5, 2.5, 2.5}, {7.5, 5, 0, 0}, {5, 5, 0, 0}, {-inf, 5, 0, inf}, {5, inf, 0, inf}};
    for (const auto& [start, end, screen, camera] : cases) {
        ScreenCaptureResult result;
        result.startedAt = start;
        result.endedAt = end;
        EXPECT_EQ(result.duration(), screen) << start << " " << end;
        EXPECT_EQ((CameraCaptureTrackResult{{}, start, end}.duration()), camera) << start << " " << end;
    }
}

} // namespace
} // namespace tavrin
