#include <array>
#include <cstring>
#include <optional>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Capture/CaptureSelection.h"
#include "TavrinKit/Media/PixelConversion.h"
#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/X11WindowGeometry.h"
#include "TestScreen.h"

namespace tavrin::test {
namespace {

using Extents = std::array<std::uint32_t, 4>; // left, right, top, bottom

std::uint32_t noiseAt(int x, int y) {
    return (std::uint32_t(x) * 73856093U ^ std::uint32_t(y) * 19349663U) * 2654435761U >> 7 & 0xffffffU;
}

PixelBuffer noise(const X11Rect& area) {
    PixelBuffer result = PixelBuffer::allocate(PixelFormat::bgra8, {area.width, area.height});
    for (int y = 0; y < area.height; ++y) {
        for (int x = 0; x < area.width; ++x) {
            const std::uint32_t pixel = noiseAt(area.x + x, area.y + y);
            std::memcpy(result.row(0, y) + std::ptrdiff_t(x) * 4, &pixel, 4);
        }
    }
    return result;
}

/// A window that the server paints by itself, with noise, wherever it comes to light.
class NoiseWindow {
public:
    NoiseWindow(const X11Connection& connection, const X11Rect& area, int depth = 24,
                bool isOverrideRedirect = false, std::uint32_t parent = 0)
        : connection_(connection), id_(xcb_generate_id(connection.xcb())) {
        xcb_connection_t* xcb = connection.xcb();
        const std::uint32_t pixmap = xcb_generate_id(xcb);
        constexpr std::uint16_t side = 512;
        xcb_create_pixmap(xcb, std::uint8_t(depth), pixmap, connection.root(), side, side);
        const std::uint32_t context = xcb_generate_id(xcb);
        xcb_create_gc(xcb, context, pixmap, 0, nullptr);
        for (int y = 0; y < side; y += 64) {
            const PixelBuffer rows = noise({0, y, side, 64});
            xcb_put_image(xcb, XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context, side, 64, 0, std::int16_t(y), 0,
                          std::uint8_t(depth), side * 64 * 4, rows.row(0, 0));
        }
        const std::uint32_t colours = xcb_generate_id(xcb);
        const std::uint32_t visual = visualOf(depth);
        xcb_create_colormap(xcb, XCB_COLORMAP_ALLOC_NONE, colours, connection.root(), visual);
        const std::array<std::uint32_t, 4> values{pixmap, 0, isOverrideRedirect ? 1U : 0U, colours};
        xcb_create_window(xcb, std::uint8_t(depth), id_, parent != 0 ? parent : connection.root(),
                          std::int16_t(area.x), std::int16_t(area.y), std::uint16_t(area.width),
                          std::uint16_t(area.height), 0, XCB_WINDOW_CLASS_INPUT_OUTPUT, visual,
                          XCB_CW_BACK_PIXMAP | XCB_CW_BORDER_PIXEL | XCB_CW_OVERRIDE_REDIRECT |
                              XCB_CW_COLORMAP,
                          values.data());
        xcb_map_window(xcb, id_);
        sync();
    }
    ~NoiseWindow() { destroy(); }
    NoiseWindow(const NoiseWindow&) = delete;
    NoiseWindow& operator=(const NoiseWindow&) = delete;

    [[nodiscard]] std::uint32_t id() const { return id_; }

    void place(const X11Rect& area) { placeWindow(connection_, id_, area); }
    void unmap() {
        xcb_unmap_window(connection_.xcb(), id_);
        sync();
    }
    void map() {
        xcb_map_window(connection_.xcb(), id_);
        sync();
    }
    void destroy() {
        xcb_destroy_window(connection_.xcb(), id_);
        sync();
    }
    void setExtents(const char* property, const Extents& extents) {
        xcb_change_property(connection_.xcb(), XCB_PROP_MODE_REPLACE, id_, connection_.atom(property),
                            XCB_ATOM_CARDINAL, 32, 4, extents.data());
        sync();
    }
    void fill(const X11Rect& area, std::uint32_t colour) {
        fillRectangle(connection_, id_, area, colour);
        sync();
    }

private:
    [[nodiscard]] std::uint32_t visualOf(int depth) const {
        const auto* screen = xcb_setup_roots_iterator(xcb_get_setup(connection_.xcb())).data;
        for (auto each = xcb_screen_allowed_depths_iterator(screen); each.rem > 0; xcb_depth_next(&each)) {
            if (each.data->depth == depth) {
                return xcb_depth_visuals(each.data)->visual_id;
            }
        }
        return 0;
    }
    void sync() const { test::sync(connection_); }

    const X11Connection& connection_;
    const std::uint32_t id_;
};

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

    [[nodiscard]] std::size_t pictures() const {
        std::size_t count = 0;
        for (const VideoSample& sample : output->samples()) {
            count += sample.pixels.isEmpty() ? 0U : 1U;
        }
        return count;
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
                           row.depth, row.isOverrideRedirect, frame ? frame->id() : 0);
        if (row.isFramed) {
            window.setExtents("_NET_FRAME_EXTENTS", {4, 4, 20, 6});
        }
        window.setExtents("_GTK_FRAME_EXTENTS", row.shadow);
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

TEST(X11WindowStreamTests, tellsMovesWithoutPicturesAndScalesWhatHasAnotherSize) {
    Canvas canvas(sharedDisplay());
    NoiseWindow window(canvas.connection(), {600, 100, 200, 100});
    window.fill({0, 0, 200, 100}, 0xffffff);
    const WindowTake take(window.id(), {200, 100});

    window.place({-40, 333, 200, 100});
    ASSERT_TRUE(take.output->waitForCount(2));
    EXPECT_EQ(take.output->last().screenRect,
              Rect(-40 - rightMonitor.x, rightMonitor.height - 433, 200, 100));
    EXPECT_TRUE(take.output->last().pixels.isEmpty());
    take.output->waitForQuiet();
    EXPECT_EQ(take.pictures(), 1U);

    const struct {
        PixelSize size;
        Rect content;
    } cases[] = {{{400, 100}, {0, 24, 200, 50}},
                 {{100, 100}, {50, 0, 100, 100}},
                 {{101, 51}, {0, 0, 200, 100}},
                 {{1, 300}, {98, 0, 2, 100}},
                 {{201, 101}, {0, 0, 200, 100}}};
    for (const auto& row : cases) {
        window.place({600, 100, row.size.width, row.size.height});
        window.fill({0, 0, row.size.width, row.size.height}, 0xffffff);
        EXPECT_TRUE(eventually([&] {
            const VideoSample sample = take.output->last();
            if (sample.pixels.isEmpty() || sample.contentRect != row.content) {
                return false;
            }
            int wrong = 0;
            for (int y = 0; y < 100; ++y) {
                for (int x = 0; x < 200; ++x) {
                    const bool isContent = row.content.contains(Vec2{double(x), double(y)});
                    wrong += sample.pixels.row(0, y)[x] != (isContent ? 235 : 16) ? 1 : 0;
                }
            }
            return wrong == 0;
        })) << row.size.width;
    }
    // Once it is as at first it is exact again.
    window.place({600, 100, 1, 1});
    window.place({600, 100, 200, 100});
    EXPECT_TRUE(eventually([&] {
        const PixelBuffer pixels = take.output->last().pixels;
        return !pixels.isEmpty() && worstDifference(pixels, noise({0, 0, 200, 100})) <= 1;
    }));
}

TEST(X11WindowStreamTests, keepsTheLastPictureOfAHiddenWindowAndEndsWithAClosedOne) {
    Canvas canvas(sharedDisplay());
    for (const bool isFramed : {false, true}) {
        std::optional<NoiseWindow> frame;
        if (isFramed) {
            frame.emplace(canvas.connection(), X11Rect{590, 90, 220, 120});
        }
        NoiseWindow window(canvas.connection(),
                           isFramed ? X11Rect{10, 10, 200, 100} : X11Rect{600, 100, 200, 100}, 24, false,
                           frame ? frame->id() : 0);
        const WindowTake take(window.id(), {200, 100});
        window.unmap();
        ASSERT_TRUE(eventually([&] { return !take.output->warnings().empty(); }));
        take.output->waitForQuiet();
        EXPECT_THAT(take.output->warnings(), testing::ElementsAre("window_minimized"));
        EXPECT_EQ(take.pictures(), 1U) << isFramed;
        window.map();
        window.fill({0, 0, 200, 100}, 0xffffff);
        take.output->waitForQuiet();
        EXPECT_EQ(take.output->last().pixels.row(0, 99)[199], 235);
        EXPECT_FALSE(take.output->error());

        window.destroy();
        ASSERT_TRUE(take.output->waitForStop());
        EXPECT_THAT([&] { std::rethrow_exception(take.output->error()); },
                    testing::Throws<X11Error>(
                        testing::Property(&X11Error::kind, testing::Eq(X11ErrorCase::windowClosed))));
    }
}

} // namespace
} // namespace tavrin::test
