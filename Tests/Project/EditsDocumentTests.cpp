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
    encode(json, ZoomMode::automatic);
    EXPECT_EQ(json, "auto");
    const auto empty = decodeDocument<EditsDocument>("{}");
    EXPECT_EQ(empty, EditsDocument());
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
        EXPECT_EQ(test::failingPathWithout(pointer, decodeDocument<EditsDocument>, whole), expected);
    }
}

TEST(EditsDocumentTests, refusesWrongValuesWithTheirPlace) {
    const Json whole = parseJson(test::fullEditsText);
    const auto decoding = decodeDocument<EditsDocument>;
    const std::pair<std::string, Json> cases[] = {
        {"/timeline/cursorTrack/style/smoothing", "huge"},
        {"/timeline/typingTrack/style/maxVisibleChips", 1.5},
        {"/timeline/speedTrack/regions/1/speed", 1.0},
        {"/timeline/speedTrack/regions/0/id", "1234"},
        {"/timeline/audioMix/trackStyles", {"system"}},
        {"/timeline/audioMix/trackStyles/2", "speaker"},
        {"/timeline", Json::array()},
    };
    for (const auto& [pointer, value] : cases) {
        EXPECT_EQ(test::failingPathWith(pointer, value, decoding, whole), test::pathOf(pointer));
    }
    const std::string background = "/timeline/framingTrack/style/background"; // is of one kind only
    EXPECT_EQ(test::failingPathWith(background + "/solid", {{"colorHex", "#1"}}, decoding, whole),
              test::pathOf(background));
}

TEST(EditsDocumentTests, someDecodersNormalizeAndOthersKeepWhatTheFileSays) {
    EXPECT_EQ(decodeDocument<CursorStyle>(R"({"sizeMultiplier":9,"idleHideAfterSeconds":0})"),
              (CursorStyle{.sizeMultiplier = 2.5, .idleHideAfterSeconds = 0.2}));
    EXPECT_EQ(decodeDocument<TypingStyle>(R"({"burstGapSeconds":0,"maxVisibleChips":100})"),
              (TypingStyle{.burstGapSeconds = 0.08, .maxVisibleChips = 16}));
    EXPECT_EQ(decodeDocument<CameraPiPStyle>(R"({"widthFraction":1,"borderOpacity":2})"),
              (CameraPiPStyle{.widthFraction = 0.45, .borderOpacity = 1}));
    const auto zoom = decodeDocument<ZoomSegment>(R"({"startTime":5,"endTime":3,"scale":0.5})");
    EXPECT_EQ(zoom, (ZoomSegment{.id = zoom.id, .startTime = 5, .endTime = 5}));
    EXPECT_NE(zoom.id, decodeDocument<ZoomSegment>("{}").id);

    EditsDocument raw = test::fullEdits();
    raw.timeline.watermarkTrack.style.opacity = 7;
    raw.timeline.motionBlurStyle.intensity = 3;
    raw.timeline.cropTrack.region = {-1, 2, 0, 5};
    raw.timeline.trimRange = ClipTimeRange{5, -1};
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
    EXPECT_EQ((WatermarkStyle{.text = " \n a b\t", .imagePath = "  ", .opacity = 7}.normalized()),
              (WatermarkStyle{.text = "a b", .imagePath = "", .opacity = 1}));
    const AnnotationRegion region = AnnotationRegion{.startTime = -3,
                                                     .endTime = nan,
                                                     .imagePath = " \t ",
                                                     .position = {nan, 2},
                                                     .size = {0, infinity},
                                                     .zIndex = -2}
                                        .normalized();
    EXPECT_EQ(region, (AnnotationRegion{.id = region.id, .position = {0.35, 0.95}, .size = {0.05, 0.2}}));
    for (const auto& [volume, expected] : {std::pair{nan, 1.0}, {infinity, 1.0}, {3.0, 2.0}, {-1.0, 0.0}}) {
        EXPECT_EQ(ExtraAudioRegion{.volume = volume}.normalized().volume, expected);
    }
}

TEST(RecordTests, aCropStaysInThePicture) {
    EXPECT_EQ((CropRegion{nan, -1, infinity, nan}.normalized()), (CropRegion{0, 0, 1, 1}));
    EXPECT_EQ((CropRegion{0.9, 2, 0.5, 0}.normalized()), (CropRegion{0.5, 0.95, 0.5, 0.05}));
    EXPECT_TRUE((CropRegion{0.00009, 0, 1, 0.99991}.isFullFrame()));
    EXPECT_FALSE((CropRegion{0, 0, 0.9998, 1}.isFullFrame()));
}

} // namespace
} // namespace tavrin
