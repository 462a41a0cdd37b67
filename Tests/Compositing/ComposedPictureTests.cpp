#include <functional>
#include <set>

#include <gtest/gtest.h>

#include "SampleScreen.h"
#include "TavrinKit/Project/PremiumDefaults.h"

namespace tavrin {
namespace {

/// A hand that moves along a curve and clicks at 1 second.
EventTimeline walk() {
    std::vector<MouseEvent> events;
    for (int i = 0; i <= 240; ++i) {
        const double t = i / 120.0;
        const auto kind = i == 120 ? MouseEventKind::clicked : MouseEventKind::moved;
        events.push_back({t, {0.25 + 0.1 * t * t, 0.13 + 0.12 * t}, kind, {}});
    }
    return EventTimeline(events, {}, {{0, events[0].location, true, test::sampleAppearance()}});
}

FrameCompositor::Inputs styled(const std::function<void(TimelineModel&)>& change) {
    TimelineModel timeline = PremiumDefaults::timelineModel();
    change(timeline);
    return {.events = std::make_shared<const EventTimeline>(walk()),
            .timeline = timeline,
            .timeMapper = TimelineTimeMapper(2, {}),
            .sourceDuration = 2,
            .packageRoot = {},
            .outputSize = {1280, 720}};
}

TEST(ComposedPictures, ShowEachLookAsItIsToBe) {
    const auto wallpaper = [](BuiltInWallpaperStyle id) {
        return [id](TimelineModel& t) {
            t.framingTrack.style.background = BackgroundStyle::wallpaper(id);
            t.framingTrack.style.padding = 90;
        };
    };
    const struct {
        const char* name;
        double time;
        std::function<void(TimelineModel&)> change;
    } looks[] = {
        {"plain", 1.12,
         [](TimelineModel&) {
         }},
        {"glyph", 0.9,
         [](TimelineModel& t) {
             t.cursorTrack.style.glyphSelectionMode = CursorGlyphSelectionMode::manual;
             t.cursorTrack.style.trailStyle = CursorTrailStyle::dynamic;
             t.cursorTrack.style.sizeMultiplier = 2.5;
         }},
        {"touch", 1.08,
         [](TimelineModel& t) {
             t.cursorTrack.style.bodyStyle = CursorBodyStyle::touch;
             t.cursorTrack.style.clickHighlightStyle = ClickHighlightStyle::halo;
         }},
        {"zoom", 1.1,
         [](TimelineModel& t) {
             t.zoomTrack.add({.startTime = 0.2, .endTime = 2, .focus = {0.3, 0.2}, .scale = 1.9});
         }},
        {"aurora", 1.04, wallpaper(BuiltInWallpaperStyle::aurora)},
        {"ember", 1.04, wallpaper(BuiltInWallpaperStyle::ember)},
        {"tide", 1.04, wallpaper(BuiltInWallpaperStyle::tide)},
        {"graphite", 1.04, wallpaper(BuiltInWallpaperStyle::graphite)},
    };
    std::set<std::array<int, 4>> corners;
    const Image screen = test::sampleScreen();
    for (const auto& look : looks) {
        const Image frame = FrameCompositor(styled(look.change)).compose(look.time, screen);
        const PixelBuffer picture = test::rendered(frame, {0, 0, 1280, 720});
        test::leavePicture(look.name, picture);
        corners.insert(test::pixel(picture, 20, 700));
    }
    EXPECT_EQ(corners.size(), 5U) << "four wallpapers and the gradient";
}

} // namespace
} // namespace tavrin
