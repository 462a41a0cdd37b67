#include <limits>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FullEdits.h"
#include "JsonKeys.h"
#include "TavrinKit/Project/EditsDocument.h"
#include "TavrinKit/Project/PremiumDefaults.h"

namespace tavrin {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(EditsDocumentTests, comesBackWholeUnderTheNamesThatFilesHold) {
    Json json;
    encode(json, test::fullEdits());
    EXPECT_EQ(json, parseJson(test::fullEditsText));
    for (const EditsDocument& document :
         {EditsDocument(), EditsDocument{PremiumDefaults::timelineModel(), {}, {}}}) {
        EXPECT_EQ(decodeDocument<EditsDocument>(encodeDocument(document)), document);
    }
    for (const char* background : {R"({"solid":{"colorHex":"#1"}})", R"({"image":{"path":"/a b.png"}})",
                                   R"({"gradient":{"startHex":"#1","endHex":"#2"}})"}) {
        encode(json, decodeDocument<BackgroundStyle>(background));
        EXPECT_EQ(json, parseJson(background));
    }
    encode(json, ExportSettingsMetadata());
    EXPECT_EQ(json, Json::object());
    encode(json, ZoomSegment());
    EXPECT_EQ(json["mode"], "auto");
    const auto empty = decodeDocument<EditsDocument>("{}");
    EXPECT_EQ(empty, EditsDocument());
    EXPECT_THAT(empty.audioRouting.preferredRoles,
                testing::ElementsAre(AudioTrackRole::microphone, AudioTrackRole::system));
    EXPECT_EQ(decodeDocument<TimelineModel>(R"({"cursorTrack":{"style":{}}})"), TimelineModel());
}

/// Takes every key out of a full document in turn. Which of them may be missing is stated here by the object
/// that holds them; all others must be refused with their place.
TEST(EditsDocumentTests, exactlyTheToleratedKeysMayBeMissing) {
    const std::set<std::string> tolerantObjects{"",
                                                "/timeline",
                                                "/exportSettings",
                                                "/timeline/cursorTrack/style",
                                                "/timeline/cameraPiPTrack/style",
                                                "/timeline/typingTrack/style",
                                                "/timeline/zoomTrack/segments/0"};
    const std::set<std::string> optionalKeys{"takeGroupID", "previewTakeID", "imagePath", "figure"};
    const Json whole = parseJson(test::fullEditsText);
    for (const std::string& key : test::keysOf(whole)) {
        const Json::json_pointer pointer(key);
        const bool isTolerated = tolerantObjects.contains(pointer.parent_pointer().to_string()) ||
                                 optionalKeys.contains(pointer.back());
        const bool isKind = pointer.back() == "wallpaper"; // without it the background is no background
        const std::string expected =
            isTolerated ? "accepted" : test::pathOf(isKind ? pointer.parent_pointer().to_string() : key);
        EXPECT_EQ(test::failingPath([&] {
                      static_cast<void>(decodeDocument<EditsDocument>(test::textWithout(whole, pointer)));
                  }),
                  expected);
    }
}

TEST(EditsDocumentTests, refusesWrongValuesWithTheirPlace) {
    const struct {
        const char* pointer;
        const char* value;
        const char* path;
    } cases[] = {
        {"/timeline/cursorTrack/style/smoothing", "\"huge\"", "timeline.cursorTrack.style.smoothing"},
        {"/timeline/typingTrack/style/maxVisibleChips", "1.5", "timeline.typingTrack.style.maxVisibleChips"},
        {"/timeline/speedTrack/regions/1/speed", "1.0", "timeline.speedTrack.regions[1].speed"},
        {"/timeline/speedTrack/regions/0/id", "\"1234\"", "timeline.speedTrack.regions[0].id"},
        {"/timeline/speedTrack/regions", "{}", "timeline.speedTrack.regions"},
        {"/timeline/zoomTrack/segments/0/enabled", "1", "timeline.zoomTrack.segments[0].enabled"},
        {"/timeline/audioMix/trackStyles", "[\"system\"]", "timeline.audioMix.trackStyles"},
        {"/timeline/audioMix/trackStyles/2", "\"speaker\"", "timeline.audioMix.trackStyles[2]"},
        {"/timeline/trimRange", "[1, 2]", "timeline.trimRange"},
        {"/timeline/framingTrack/style/background/solid", R"({"colorHex":"#1"})",
         "timeline.framingTrack.style.background"},
        {"/exportSettings/selectedAspect", "\"16:9\"", "exportSettings.selectedAspect"},
        {"/timeline", "[]", "timeline"},
        {"", "[]", ""},
    };
    for (const auto& [pointer, value, path] : cases) {
        Json json = parseJson(test::fullEditsText);
        json[Json::json_pointer(pointer)] = parseJson(value);
        EXPECT_EQ(
            test::failingPath([&] { static_cast<void>(decodeDocument<EditsDocument>(encodeJson(json))); }),
            path);
    }
    try {
        static_cast<void>(decodeDocument<BackgroundStyle>("{}"));
        FAIL();
    } catch (const JsonError& error) {
        EXPECT_EQ(error.reason(), "Invalid number of keys found, expected one.");
    }
}

TEST(EditsDocumentTests, someDecodersNormalizeAndOthersKeepWhatTheFileSays) {
    const auto cursor = decodeDocument<CursorStyle>(
        R"({"sizeMultiplier":9,"idleHideAfterSeconds":0,"shakeReduction":-1,"glyphStabilizationSeconds":2,
            "endLoopDurationSeconds":0,"clickHighlightDurationSeconds":2,"clickHighlightIntensity":2,
            "trailLengthSeconds":2,"trailIntensity":-1,"idleFadeDurationSeconds":0})");
    EXPECT_EQ(cursor, (CursorStyle{.sizeMultiplier = 2.5,
                                   .idleHideAfterSeconds = 0.2,
                                   .shakeReduction = 0,
                                   .glyphStabilizationSeconds = 1.2,
                                   .endLoopDurationSeconds = 0.12,
                                   .clickHighlightDurationSeconds = 1.2,
                                   .clickHighlightIntensity = 1,
                                   .trailLengthSeconds = 1.2,
                                   .trailIntensity = 0,
                                   .idleFadeDurationSeconds = 0.05}));
    EXPECT_EQ(
        decodeDocument<TypingStyle>(
            R"({"burstGapSeconds":0,"holdDurationSeconds":9,"fadeDurationSeconds":9,"keyPopDurationSeconds":9,
                      "maxVisibleChips":100})"),
        (TypingStyle{true, 0.08, 3, 1.4, 0.7, 16}));
    EXPECT_EQ(decodeDocument<TypingStyle>(R"({"maxVisibleChips":0})").maxVisibleChips, 1);
    const auto camera = decodeDocument<CameraPiPStyle>(
        R"({"widthFraction":1,"marginFraction":0,"cornerRadiusFraction":1,"shadowOpacity":-1,"borderOpacity":2,
            "borderWidth":11,"focusReactionStrength":2})");
    EXPECT_EQ(camera, (CameraPiPStyle{.widthFraction = 0.45,
                                      .marginFraction = 0.01,
                                      .cornerRadiusFraction = 0.5,
                                      .shadowOpacity = 0,
                                      .borderOpacity = 1,
                                      .borderWidth = 10,
                                      .focusReactionStrength = 1}));
    const auto zoom = decodeDocument<ZoomSegment>(R"({"startTime":5,"endTime":3,"scale":0.5})");
    EXPECT_EQ(zoom, (ZoomSegment{.id = zoom.id, .startTime = 5, .endTime = 5}));
    EXPECT_NE(zoom.id, decodeDocument<ZoomSegment>("{}").id);

    EditsDocument raw = test::fullEdits();
    raw.timeline.watermarkTrack.style.opacity = 7;
    raw.timeline.motionBlurStyle.intensity = 3;
    raw.timeline.cropTrack.region = {-1, 2, 0, 5};
    raw.timeline.trimRange = ClipTimeRange{5, -1};
    raw.timeline.framingTrack.style.padding = -1;
    raw.timeline.framingTrack.style.shadow.opacity = 2;
    raw.timeline.videoTrack.clips[0].lane = -4;
    std::swap(raw.timeline.speedTrack.regions[0], raw.timeline.speedTrack.regions[1]);
    raw.timeline.annotationTrack.regions[0].style.fontSize = 1000;
    EXPECT_EQ(decodeDocument<EditsDocument>(encodeDocument(raw)), raw);
}

TEST(RecordTests, normalizingHoldsEveryValueInItsRange) {
    EXPECT_EQ((ClipTimeRange{-1, nan}.normalized()), (ClipTimeRange{0, 0}));
    EXPECT_EQ((ClipTimeRange{infinity, 3}.normalized()), (ClipTimeRange{0, 3}));
    EXPECT_EQ((ClipTimeRange{4, 3}.normalized()), (ClipTimeRange{4, 4}));
    EXPECT_EQ((ClipTimeRange{4, infinity}.normalized()), (ClipTimeRange{4, 4}));
    EXPECT_EQ(MotionBlurStyle{nan}.normalized().intensity, 0);
    EXPECT_EQ(MotionBlurStyle{1}.normalized().intensity, 0.65);
    EXPECT_EQ((ShadowStyle{2, -1, -5, nan}.normalized().blurRadius), 0);
    const WatermarkStyle mark =
        WatermarkStyle{
            .text = " \n a b\t", .imagePath = "  ", .opacity = 7, .widthFraction = 0, .marginFraction = 1}
            .normalized();
    EXPECT_EQ(
        mark,
        (WatermarkStyle{
            .text = "a b", .imagePath = "", .opacity = 1, .widthFraction = 0.08, .marginFraction = 0.2}));
    const AnnotationRegion region = AnnotationRegion{.startTime = -3,
                                                     .endTime = nan,
                                                     .imagePath = " \t ",
                                                     .position = {nan, 2},
                                                     .size = {0, infinity},
                                                     .zIndex = -2}
                                        .normalized();
    EXPECT_EQ(region, (AnnotationRegion{.id = region.id, .position = {0.35, 0.95}, .size = {0.05, 0.2}}));
    EXPECT_EQ((AnnotationStyle{.fontSize = 200, .borderRadius = -1, .strokeWidth = 0, .shadowOpacity = 2}
                   .normalized()),
              (AnnotationStyle{.fontSize = 96, .borderRadius = 0, .strokeWidth = 1, .shadowOpacity = 1}));
    for (const auto& [volume, expected] : {std::pair{nan, 1.0}, {infinity, 1.0}, {3.0, 2.0}, {-1.0, 0.0}}) {
        EXPECT_EQ(ExtraAudioRegion{.volume = volume}.normalized().volume, expected);
    }
    EXPECT_EQ((AudioTrackStyle{-30, true, -1, 20, {}}.normalized()), (AudioTrackStyle{-24, true, 0, 10, {}}));
    EXPECT_EQ(TimelineClip{.lane = -1}.normalized().lane, 0);
}

TEST(RecordTests, aCropStaysInThePicture) {
    const struct {
        CropRegion given;
        CropRegion expected;
    } cases[] = {
        {{nan, -1, infinity, nan}, {0, 0, 1, 1}},
        {{0.5, 0.5, 1, 1}, {0, 0, 1, 1}},
        {{0.9, 2, 0.5, 0}, {0.5, 0.95, 0.5, 0.05}},
        {{0.25, 0.5, 0.5, 0.25}, {0.25, 0.5, 0.5, 0.25}},
    };
    for (const auto& [given, expected] : cases) {
        const CropRegion crop = given.normalized();
        EXPECT_NEAR(crop.x, expected.x, 1e-15);
        EXPECT_NEAR(crop.y, expected.y, 1e-15);
        EXPECT_NEAR(crop.width, expected.width, 1e-15);
        EXPECT_NEAR(crop.height, expected.height, 1e-15);
        EXPECT_LE(crop.maxX(), 1);
        EXPECT_LE(crop.maxY(), 1);
    }
    EXPECT_TRUE((CropRegion{0.00009, 0, 1, 0.99991}.isFullFrame()));
    EXPECT_FALSE((CropRegion{0, 0, 0.9998, 1}.isFullFrame()));
}

} // namespace
} // namespace tavrin
