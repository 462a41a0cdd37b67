#include <atomic>
#include <random>
#include <thread>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <xcb/shape.h>

#include "TavrinKit/Platform/X11/X11FrameGrabber.h"
#include "TestScreen.h"

namespace tavrin::test {
namespace {

// What is excluded is magenta, and nothing else on these screens has any red.
constexpr std::uint32_t magenta = 0xff00ff;
constexpr int leastRedChroma = 150;

/// Another process with one window, which does as it is told.
class OtherApplication {
public:
    enum class Deed : std::uint8_t { create, createMenu, place, map, unmap, destroy };

    explicit OtherApplication(const std::string& display) {
        int orders[2];
        int reports[2];
        if (::pipe(orders) != 0 || ::pipe(reports) != 0) {
            throw std::runtime_error("no pipe");
        }
        processID_ = ::fork();
        if (processID_ == 0) {
            ::close(orders[1]);
            serve(display, orders[0], reports[1]);
            ::_exit(0);
        }
        ::close(orders[0]);
        ::close(reports[1]);
        orders_ = orders[1];
        reports_ = reports[0];
    }
    ~OtherApplication() {
        ::close(orders_);
        ::waitpid(processID_, nullptr, 0);
        ::close(reports_);
    }
    OtherApplication(const OtherApplication&) = delete;
    OtherApplication& operator=(const OtherApplication&) = delete;

    /// Returns when the server has done it. @return the window
    std::uint32_t tell(Deed deed, X11Rect area = {}) const {
        const Order order{deed, area};
        std::uint32_t window = 0;
        if (::write(orders_, &order, sizeof order) != ssize_t(sizeof order) ||
            ::read(reports_, &window, sizeof window) != ssize_t(sizeof window)) {
            throw std::runtime_error("the other application has gone");
        }
        return window;
    }
    int processID() const { return processID_; }

private:
    struct Order {
        Deed deed;
        X11Rect area;
    };

    static void serve(const std::string& display, int orders, int reports) {
        const X11Connection connection(display);
        xcb_connection_t* xcb = connection.xcb();
        std::uint32_t window = 0;
        for (Order order; ::read(orders, &order, sizeof order) == ssize_t(sizeof order);) {
            const X11Rect& area = order.area;
            const std::uint32_t attributes[] = {magenta, order.deed == Deed::createMenu};
            switch (order.deed) {
            case Deed::create:
            case Deed::createMenu:
                window =
                    createWindow(connection, area, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, attributes);
                break;
            case Deed::place:
                placeWindow(connection, window, area);
                break;
            case Deed::map:
                xcb_map_window(xcb, window);
                break;
            case Deed::unmap:
                xcb_unmap_window(xcb, window);
                break;
            case Deed::destroy:
                xcb_destroy_window(xcb, window);
                break;
            }
            sync(connection);
            if (::write(reports, &window, sizeof window) != ssize_t(sizeof window)) {
                return;
            }
        }
    }

    int processID_ = 0;
    int orders_ = -1;
    int reports_ = -1;
};

/// Looks at every picture for what must not be in it.
class WatchfulOutput : public RecordingOutput {
public:
    using RecordingOutput::didOutput;

    void didOutput(VideoSample sample) override {
        const PixelBuffer::Plane& plane = sample.pixels.plane(2);
        for (int y = 0; y < plane.height; ++y) {
            const std::uint8_t* row = sample.pixels.row(2, y);
            if (std::any_of(row, row + plane.width, [](int value) { return value > leastRedChroma; })) {
                betrayals += 1;
                break;
            }
        }
        RecordingOutput::didOutput(std::move(sample));
    }

    std::atomic<int> betrayals{0};
};

/// Windows of this process, over each other on a root window with a pattern of its own.
class Scene {
public:
    explicit Scene(const std::string& display) : connection_(display), context_(xcb_generate_id(xcb())) {
        xcb_create_gc(xcb(), context_, connection_.root(), 0, nullptr);
        const std::uint32_t pattern = noise(24, 16, 5);
        xcb_change_window_attributes(xcb(), connection_.root(), XCB_CW_BACK_PIXMAP, &pattern);
        xcb_clear_area(xcb(), 0, connection_.root(), 0, 0, 0, 0);
        lower = addWindow({60, 60, 260, 200}, 1);
        upper = addWindow({200, 140, 220, 230}, 2);
        const xcb_rectangle_t shape[] = {{0, 0, 220, 40}, {60, 40, 100, 190}};
        xcb_shape_rectangles(xcb(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_UNSORTED,
                             upper, 0, 0, 2, shape);
        sync();
    }

    std::uint32_t addWindow(const X11Rect& area, std::uint32_t seed) {
        const std::uint32_t pattern = noise(area.width, area.height, seed);
        const std::uint32_t window = createWindow(connection_, area, XCB_CW_BACK_PIXMAP, &pattern, 3);
        xcb_map_window(xcb(), window);
        return window;
    }
    /// A window without a background: where its owner hasn't painted, it shows what was seen there before.
    std::uint32_t addBareWindow(const X11Rect& area) {
        const std::uint32_t events = XCB_EVENT_MASK_EXPOSURE;
        const std::uint32_t window = createWindow(connection_, area, XCB_CW_EVENT_MASK, &events);
        xcb_map_window(xcb(), window);
        return window;
    }
    /// @return whether the server asked for something to be painted
    bool takeExposures() const {
        bool any = false;
        while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(xcb())}) {
            any = any || (event->response_type & 0x7f) == XCB_EXPOSE;
        }
        return any;
    }
    void paint(std::uint32_t window, const X11Rect& area, std::uint32_t color) {
        fillRectangle(connection_, window, area, color);
        sync();
    }
    void place(std::uint32_t window, int x, int y) {
        const std::uint32_t position[] = {std::uint32_t(x), std::uint32_t(y)};
        xcb_configure_window(xcb(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, position);
        sync();
    }
    void raise(std::uint32_t window) {
        const std::uint32_t above = XCB_STACK_MODE_ABOVE;
        xcb_configure_window(xcb(), window, XCB_CONFIG_WINDOW_STACK_MODE, &above);
        sync();
    }
    /// What the screen shows now.
    PixelBuffer screen(const X11Rect& area) {
        if (!grabber_) {
            grabber_ = std::make_unique<X11FrameGrabber>(connection_, area.area(), 1);
        }
        return grabber_->grab(connection_.root(), {area}).at(0);
    }
    std::size_t topLevelCount() const {
        const X11Owned<xcb_query_tree_reply_t> tree(
            xcb_query_tree_reply(xcb(), xcb_query_tree(xcb(), connection_.root()), nullptr));
        return std::size_t(xcb_query_tree_children_length(tree.get()));
    }
    void sync() const { test::sync(connection_); }
    xcb_connection_t* xcb() const { return connection_.xcb(); }
    const X11Connection& connection() const { return connection_; }

    std::uint32_t lower = 0;
    std::uint32_t upper = 0;

private:
    std::uint32_t noise(int width, int height, std::uint32_t seed) {
        std::vector<std::uint32_t> pixels(std::size_t(width) * std::size_t(height));
        std::mt19937 random(seed);
        std::ranges::generate(pixels, [&] { return random() & 0xffffU; });
        const std::uint32_t pixmap = xcb_generate_id(xcb());
        xcb_create_pixmap(xcb(), 24, pixmap, connection_.root(), std::uint16_t(width), std::uint16_t(height));
        for (int y = 0; y < height; ++y) {
            xcb_put_image(xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, pixmap, context_, std::uint16_t(width), 1, 0,
                          std::int16_t(y), 0, 24, std::uint32_t(width) * 4,
                          reinterpret_cast<const std::uint8_t*>(&pixels[std::size_t(y * width)]));
        }
        return pixmap;
    }

    X11Connection connection_;
    std::uint32_t context_;
    std::unique_ptr<X11FrameGrabber> grabber_;
};

class X11ExclusionTests : public testing::Test {
protected:
    /// The recorded display; it begins in the middle of nowhere to tell its coordinates from the screen's.
    static constexpr X11Rect recorded{20, 30, 480, 360};

    X11ExclusionTests()
        : display(settings()), scene(display.name()), other(display.name()),
          output(std::make_shared<WatchfulOutput>()) {}

    static VirtualDisplay::Settings settings() {
        VirtualDisplay::Settings settings;
        settings.size = {800, 600};
        settings.monitors = {{"IN", recorded.x, recorded.y, {recorded.width, recorded.height}, true},
                             {"OUT", 500, 30, {300, 360}, false}};
        return settings;
    }

    void start(const CaptureApplicationExclusionRule& rule) {
        stream = makeStream(
            display.name(), "IN", output, false,
            [&](ContentFilter::Display& filter, StreamConfiguration&) { filter.exclusionRule = rule; });
        stream->start({});
        ASSERT_TRUE(output->waitForCount(1));
    }
    /// What is recorded must be what the screen shows once the excluded window has gone, or never was.
    void expectSceneWithout(const char* what) {
        output->waitForQuiet();
        const VideoSample beneath = output->last();
        other.tell(OtherApplication::Deed::unmap);
        output->waitForQuiet();
        EXPECT_LE(worstDifference(beneath.pixels, scene.screen(recorded)), 1) << what << ", beneath";
        EXPECT_LE(worstDifference(output->last().pixels, scene.screen(recorded)), 1) << what << ", after";
        EXPECT_EQ(output->betrayals, 0) << what;
        other.tell(OtherApplication::Deed::map);
    }

    VirtualDisplay display;
    Scene scene;
    OtherApplication other;
    std::shared_ptr<WatchfulOutput> output;
    std::unique_ptr<ScreenStream> stream;
};

TEST_F(X11ExclusionTests, whatExcludedWindowsCoverIsSeenAsIfTheyWereNotThere) {
    using Deed = OtherApplication::Deed;
    (void)scene.addBareWindow({110, 200, 100, 80}); // whose owner never paints
    scene.sync();
    other.tell(Deed::create, {150, 100, 150, 150});
    other.tell(Deed::map);
    start({{}, {other.processID()}});
    expectSceneWithout("there from the start");

    scene.paint(scene.lower, {80, 40, 150, 100}, 0x00ff00);
    scene.paint(scene.upper, {5, 5, 100, 100}, 0x0000ff);
    expectSceneWithout("changed beneath");

    scene.place(scene.lower, 100, 90);
    scene.raise(scene.lower);
    expectSceneWithout("moved and raised over it, and covered again");

    const std::uint32_t newer = scene.addWindow({130, 120, 120, 120}, 3);
    scene.sync();
    expectSceneWithout("a new window, over or under it");
    xcb_destroy_window(scene.xcb(), newer);
    scene.sync();
    expectSceneWithout("a window beneath that has gone");

    other.tell(Deed::place, {-40, 300, 400, 400});
    expectSceneWithout("partly off the screen");

    other.tell(Deed::destroy);
    other.tell(Deed::createMenu, {90, 90, 200, 30});
    other.tell(Deed::map);
    expectSceneWithout("a menu");
}

// The race between reading the screen and windows that come and go, on a server that is kept busy.
TEST_F(X11ExclusionTests, noPictureShowsAnExcludedWindowWhileItIsMappedUnmappedAndDragged) {
    using Deed = OtherApplication::Deed;
    start({{}, {other.processID()}});
    std::mt19937 random(11);
    const auto upTo = [&](int most) {
        return int(random() % unsigned(most));
    };
    const std::jthread changes([this](const std::stop_token& stop) {
        Scene busy(display.name());
        const std::uint32_t bare = busy.addBareWindow({0, 30, 300, 500});
        for (std::uint32_t i = 0; !stop.stop_requested(); ++i) {
            if (busy.takeExposures()) {
                busy.paint(bare, {0, 0, 300, 500}, 0x8000);
            }
            busy.paint(busy.lower, {int(i % 200), 10, 60, 180}, i * 977 & 0xffff);
            busy.place(busy.upper, 200 + int(i % 40), 140);
        }
    });
    for (int round = 0; round < 60; ++round) {
        other.tell(round % 2 == 0 ? Deed::create : Deed::createMenu,
                   {upTo(500), upTo(400), 20 + upTo(300), 20 + upTo(300)});
        other.tell(Deed::map);
        for (int i = upTo(12); i > 0; --i) {
            other.tell(Deed::place, {upTo(500), upTo(400), 20 + upTo(300), 20 + upTo(300)});
            std::this_thread::sleep_for(std::chrono::milliseconds(upTo(8)));
        }
        if (round % 3 == 0) {
            other.tell(Deed::unmap);
            std::this_thread::sleep_for(std::chrono::milliseconds(upTo(8)));
            other.tell(Deed::map);
        }
        other.tell(Deed::destroy);
    }
    EXPECT_EQ(output->betrayals, 0);
    EXPECT_GT(output->count(), 30U);
}

TEST_F(X11ExclusionTests, aWindowInAFrameBelongsToItsApplicationAndOneElsewhereCostsNothing) {
    using Deed = OtherApplication::Deed;
    const std::uint32_t window = other.tell(Deed::create, {520, 60, 100, 100});
    other.tell(Deed::map);
    const std::size_t windows = scene.topLevelCount();
    start({{}, {other.processID()}});
    output->waitForQuiet();
    EXPECT_EQ(scene.topLevelCount(), windows) << "nothing is set up as long as nothing has to be left out";
    EXPECT_LE(worstDifference(output->last().pixels, scene.screen(recorded)), 1);

    // As window managers do it: the frame is theirs.
    other.tell(Deed::unmap);
    const std::uint32_t color = 0xff0000;
    const std::uint32_t frame =
        createWindow(scene.connection(), {120, 90, 140, 150}, XCB_CW_BACK_PIXEL, &color);
    xcb_reparent_window(scene.xcb(), window, frame, 10, 30);
    const std::uint32_t normalState[] = {1, 0};
    const std::uint32_t state = scene.connection().atom("WM_STATE");
    xcb_change_property(scene.xcb(), XCB_PROP_MODE_REPLACE, window, state, state, 32, 2, normalState);
    xcb_map_window(scene.xcb(), window);
    xcb_map_window(scene.xcb(), frame);
    scene.sync();
    output->waitForQuiet();
    const VideoSample beneath = output->last();
    xcb_unmap_window(scene.xcb(), frame);
    scene.sync();
    EXPECT_LE(worstDifference(beneath.pixels, scene.screen(recorded)), 1);
    EXPECT_EQ(output->betrayals, 0);
}

} // namespace
} // namespace tavrin::test
