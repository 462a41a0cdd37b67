#include <array>
#include <cstring>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Capture/CaptureSelection.h"
#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Platform/X11/X11WindowGeometry.h"
#include "TestScreen.h"

namespace tavrin::test {
namespace {

using Extents = std::array<std::uint32_t, 4>; // left, right, top, bottom

void setExtents(const X11Connection& connection, const NoiseWindow& window, const char* property,
                const Extents& extents) {
    xcb_change_property(connection.xcb(), XCB_PROP_MODE_REPLACE, window.id(), connection.atom(property),
                        XCB_ATOM_CARDINAL, 32, 4, extents.data());
    connection.sync();
}

struct WindowTake {
    WindowTake(std::uint32_t window, PixelSize size, bool showsCursor = false) {
        ContentFilter filter;
        filter.content = ContentFilter::Window{window};
        StreamConfiguration configuration;
        configuration.width = size.width;
        configuration.height = size.height;
        configuration.scalesToFit = true;
        configuration.showsCursor = showsCursor;
        stream = X11CaptureBackend(sharedDisplay()).makeStream(filter, configuration, output);
        stream->start({});
        EXPECT_TRUE(output->waitForCount(1));
    }

    std::shared_ptr<RecordingOutput> output = std::make_shared<RecordingOutput>(8);
    std::unique_ptr<ScreenStream> stream;
};

TEST(X11WindowStreamTests, showsWindowsOfAnyKindWholeThoughTheyAreCoveredAndOffTheScreen) {
    Canvas canvas(sharedDisplay());
    const X11Connection& connection = canvas.connection();
    const struct {
        const char* description;
        int depth;
        bool isOverrideRedirect;
        bool isFramed;
        Extents shadow;
        X11Rect client; ///< on the root window
        X11Rect seen;   ///< likewise: what is to be recorded
    } cases[] = {
        {"plain, of odd size", 24, false, false, {}, {100, 120, 303, 201}, {100, 120, 302, 200}},
        {"with alpha", 32, false, false, {}, {100, 120, 300, 200}, {100, 120, 300, 200}},
        {"a menu", 24, true, false, {}, {-150, 540, 300, 200}, {-150, 540, 300, 200}},
        {"with a shadow", 32, false, false, {20, 22, 10, 30}, {900, -50, 342, 240}, {920, -40, 300, 200}},
        {"in a frame", 24, false, true, {}, {650, 480, 300, 200}, {646, 460, 308, 226}},
        {"of one pixel", 24, false, false, {}, {30, 30, 1, 1}, {30, 30, 1, 1}},
    };
    for (const auto& row : cases) {
        const X11Rect frameArea{row.client.x - 14, row.client.y - 30, row.client.width + 28,
                                row.client.height + 46}; // with 10 pixels around that can't be seen
        std::optional<NoiseWindow> frame;
        if (row.isFramed) {
            frame.emplace(connection, frameArea);
        }
        NoiseWindow window(connection,
                           row.isFramed ? X11Rect{14, 30, row.client.width, row.client.height} : row.client,
                           {row.depth, row.isOverrideRedirect, frame ? frame->id() : 0});
        if (row.isFramed) {
            setExtents(connection, window, "_NET_FRAME_EXTENTS", {4, 4, 20, 6});
        }
        setExtents(connection, window, "_GTK_FRAME_EXTENTS", row.shadow);
        NoiseWindow cover(connection, {row.seen.x + 40, row.seen.y + 40, 100, 200});
        cover.fill({0, 0, 100, 200}, 0xff8000);

        const WindowTake take(window.id(), recordableSize({row.seen.width, row.seen.height}));
        PixelBuffer expected =
            noise({row.seen.x - row.client.x, row.seen.y - row.client.y, row.seen.width, row.seen.height});
        if (row.isFramed) {
            expected = noise({10, 10, row.seen.width, row.seen.height});
            const PixelBuffer inner = noise({0, 0, row.client.width, row.client.height});
            for (int y = 0; y < row.client.height; ++y) {
                std::memcpy(expected.row(0, 20 + y) + 16, inner.row(0, y), std::size_t(row.client.width) * 4);
            }
        }
        const VideoSample sample = take.output->last();
        EXPECT_LE(worstDifference(sample.pixels, expected), 1) << row.description;
        EXPECT_EQ(sample.screenRect,
                  Rect(row.seen.x - rightMonitor.x, rightMonitor.height - row.seen.y - row.seen.height,
                       row.seen.width, row.seen.height))
            << row.description;

        cover.place({row.seen.x - 5, row.seen.y - 5, 400, 300});
        if (row.seen.width > 100) {
            window.fill({40, 50, 30, 20}, 0x00ff00);
            ASSERT_TRUE(take.output->waitForCount(2)) << row.description;
            EXPECT_EQ(take.output->last().pixels.row(0, 60 + row.client.y -
                                                            row.seen.y)[60 + row.client.x - row.seen.x],
                      173)
                << row.description;
        }
    }
}

TEST(X11WindowStreamTests, keepsTheLastPictureOfAWindowHiddenWithItsFrame) {
    Canvas canvas(sharedDisplay());
    const NoiseWindow frame(canvas.connection(), {590, 90, 220, 120});
    const NoiseWindow window(canvas.connection(), {10, 10, 200, 100}, {.parent = frame.id()});
    const WindowTake take(window.id(), {200, 100});
    window.unmap();
    ASSERT_TRUE(eventually([&] { return !take.output->delivered().warnings.empty(); }));
    take.output->waitForQuiet();
    EXPECT_THAT(take.output->delivered().warnings, testing::ElementsAre("window_minimized"));
    EXPECT_EQ(take.output->count(), 1U);
    window.map();
    window.fill({0, 0, 200, 100}, 0xffffff);
    take.output->waitForQuiet();
    EXPECT_EQ(take.output->last().pixels.row(0, 99)[199], 235);
    EXPECT_FALSE(take.output->delivered().hasStopped);
}

} // namespace
} // namespace tavrin::test
