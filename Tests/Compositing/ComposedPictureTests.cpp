#include <gtest/gtest.h>

#include "SampleScreen.h"
#include "TavrinKit/Compositing/CursorLayer.h"
#include "TavrinKit/Imaging/ImageRenderer.h"
#include "TavrinKit/Project/PremiumDefaults.h"

namespace tavrin {
namespace {

/// A hand that moves along a curve, clicks at 1 second and goes on.
std::shared_ptr<const EventTimeline> walk(bool withAppearance) {
    std::vector<MouseEvent> events;
    for (int i = 0; i <= 240; ++i) {
        const double t = i / 120.0;
        events.push_back({t, {0.25 + 0.1 * t * t, 0.13 + 0.12 * t}, MouseEventKind::moved, {}});
    }
    events.push_back({1, events[120].location, MouseEventKind::clicked, 0});
    std::vector<CursorStateEvent> states;
    if (withAppearance) {
        states.push_back({0, events[0].location, true, test::sampleAppearance()});
    }
    return std::make_shared<const EventTimeline>(EventTimeline(events, {}, states));
}

FrameCompositor::Inputs inputs(bool withAppearance = true) {
    TimelineModel timeline = PremiumDefaults::timelineModel();
    return {.events = walk(withAppearance),
            .timeline = timeline,
            .timeMapper = TimelineTimeMapper(2, {}),
            .sourceDuration = 2,
            .packageRoot = {},
            .outputSize = {1280, 720}};
}

void leave(const std::string& name, const FrameCompositor::Inputs& in, double time,
           PixelSize source = {1280, 720}) {
    const FrameCompositor compositor(in);
    ImageRenderer renderer;
    const Rect output{0, 0, double(in.outputSize.width), double(in.outputSize.height)};
    test::leavePicture(name, renderer.render(compositor.compose(time, test::sampleScreen(source)), output));
}

TEST(ComposedPictures, ForLookingAt) {
    leave("plain", inputs(), 1.12);
    auto glyph = inputs(false);
    glyph.timeline.cursorTrack.style.trailStyle = CursorTrailStyle::dynamic;
    glyph.timeline.cursorTrack.style.trailIntensity = 1;
    glyph.timeline.cursorTrack.style.sizeMultiplier = 2.5;
    leave("glyph", glyph, 0.9);
    auto touch = inputs();
    touch.timeline.cursorTrack.style.bodyStyle = CursorBodyStyle::touch;
    touch.timeline.cursorTrack.style.clickHighlightStyle = ClickHighlightStyle::halo;
    leave("touch", touch, 1.08);
    auto zoom = inputs();
    zoom.timeline.zoomTrack.add(
        ZoomSegment{.startTime = 0.2, .endTime = 2, .focus = {0.3, 0.2}, .scale = 1.9});
    zoom.timeline.framingTrack.style.background = BackgroundStyle::wallpaper(BuiltInWallpaperStyle::aurora);
    leave("zoom", zoom, 1.1, {1920, 1080});
    for (const auto& [id, name] : EnumNames<BuiltInWallpaperStyle>::names) {
        auto wall = inputs();
        wall.timeline.framingTrack.style.background = BackgroundStyle::wallpaper(id);
        wall.timeline.framingTrack.style.padding = 90;
        leave("wallpaper-" + std::string(name), wall, 1.04);
    }
}

TEST(ComposedPictures, EveryGlyph) {
    Image row = Image::color({0.45, 0.55, 0.6, 1}).cropped({0, 0, 16 * 110.0, 220});
    const Rect frame = row.extent();
    const OverlayMapping mapping(frame, {}, {}, frame, FramingStyle{.padding = 0});
    const CursorLayer layer;
    int column = 0;
    for (const auto& [glyph, name] : EnumNames<CursorGlyphKind>::names) {
        CursorFrameState state;
        state.glyph = glyph;
        for (const auto& [size, y] : {std::pair{1.6, 190.0}, {2.5, 100.0}}) {
            state.sizeMultiplier = size;
            state.position = {20.0 + 110 * column + (y < 150 ? 10 : 0), y};
            row = layer.overlayCursor(row, state, mapping);
        }
        ++column;
    }
    test::leavePicture("glyphs", ImageRenderer().render(row, frame));
}

} // namespace
} // namespace tavrin
