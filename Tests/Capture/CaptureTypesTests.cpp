#include <cstdlib>
#include <limits>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "TavrinKit/Capture/CaptureTypes.h"

namespace tavrin {
namespace {

CaptureOptions everyOptionSet() {
    CaptureOptions options;
    options.target = RecordingTarget::area("69", {10.5, -20, 800, 600});
    options.excludeCursorFromSource = true;
    options.audio = {true, true};
    options.camera = {true, "camera-1", false};
    options.mappingContext = CaptureCoordinateMappingContext{Rect{0, -180, 1440, 900}, 1080};
    options.applicationExclusionRule = {{"org.b", "org.a"}, {7, -1}};
    return options;
}

TEST(CaptureOptionsJson, RoundTripsEveryField) {
    const CaptureOptions options = everyOptionSet();
    EXPECT_EQ(decodeDocument<CaptureOptions>(encodeDocument(options)), options);
    for (const auto& target : {RecordingTarget::display("main"), RecordingTarget::window("00123")}) {
        EXPECT_EQ(decodeDocument<RecordingTarget>(encodeDocument(target)), target);
    }
}

TEST(CaptureOptionsJson, HasTheStoredForm) {
    Json json;
    encode(json, everyOptionSet());
    EXPECT_EQ(json["target"], Json::parse(R"({"area":{"displayID":"69","rect":[[10.5,-20],[800,600]]}})"));
    EXPECT_EQ(json["mappingContext"],
              Json::parse(R"({"sourceBounds":[[0,-180],[1440,900]],"mainDisplayHeight":1080})"));
    EXPECT_EQ(json["applicationExclusionRule"],
              Json::parse(R"({"bundleIdentifiers":["org.a","org.b"],"processIdentifiers":[-1,7]})"));

    CaptureOptions plain;
    plain.target = RecordingTarget::display("1");
    encode(json, plain);
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
    const struct {
        std::string text;
        JsonErrorKind kind;
    } cases[] = {
        {"{}", JsonErrorKind::missingKey},
        {"{" + target + R"(,"audio":{"includeSystemAudio":true}})", JsonErrorKind::missingKey},
        {"{" + target + R"(,"camera":{"includeCamera":true}})", JsonErrorKind::missingKey},
        {"{" + target + R"(,"applicationExclusionRule":{"bundleIdentifiers":[]}})",
         JsonErrorKind::missingKey},
        {"{" + target + R"(,"excludeCursorFromSource":1})", JsonErrorKind::typeMismatch},
        {R"({"target":{"display":{"displayID":5}}})", JsonErrorKind::typeMismatch},
        {R"({"target":{"area":{"displayID":"5"}}})", JsonErrorKind::missingKey},
    };
    for (const auto& [text, kind] : cases) {
        try {
            static_cast<void>(decodeDocument<CaptureOptions>(text));
            ADD_FAILURE() << text;
        } catch (const JsonError& error) {
            EXPECT_EQ(error.kind(), kind) << text;
        }
    }
}

TEST(RecordingTargetJson, TakesExactlyOneCase) {
    for (const char* text : {R"({})", R"({"screen":{"displayID":"1"}})",
                             R"({"display":{"displayID":"1"},"window":{"windowID":"2"}})"}) {
        try {
            static_cast<void>(decodeDocument<RecordingTarget>(text));
            ADD_FAILURE() << text;
        } catch (const JsonError& error) {
            EXPECT_EQ(error.kind(), JsonErrorKind::typeMismatch) << text;
            EXPECT_EQ(error.reason(), "Invalid number of keys found, expected one.");
        }
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
