#include <algorithm>
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
constexpr std::uint32_t withoutRed = 0x00ffff;
constexpr int leastRedChroma = 150;

/// Another process with one window, which does as it is told.
class OtherApplication {
public:
    /// Runs in the other process, which was forked off this one.
    using Deed = void (*)(const X11Connection&, std::uint32_t& window, const X11Rect& area);

    static void create(const X11Connection& connection, std::uint32_t& window, const X11Rect& area) {
        window = createWindow(connection, area, XCB_CW_BACK_PIXEL, &magenta);
    }
    static void createMenu(const X11Connection& connection, std::uint32_t& window, const X11Rect& area) {
        const std::uint32_t attributes[] = {magenta, 1};
        window = createWindow(connection, area, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, attributes);
    }
    static void place(const X11Connection& connection, std::uint32_t& window, const X11Rect& area) {
        placeWindow(connection, window, area);
    }
    static void map(const X11Connection& connection, std::uint32_t& window, const X11Rect&) {
        xcb_map_window(connection.xcb(), window);
    }
    static void unmap(const X11Connection& connection, std::uint32_t& window, const X11Rect&) {
        xcb_unmap_window(connection.xcb(), window);
    }
    static void destroy(const X11Connection& connection, std::uint32_t& window, const X11Rect&) {
        xcb_destroy_window(connection.xcb(), window);
    }

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
        std::uint32_t window = 0;
        for (Order order; ::read(orders, &order, sizeof order) == ssize_t(sizeof order);) {
            order.deed(connection, window, order.area);
            connection.sync();
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

/// Windows of this process, over each other; the upper one isn't a rectangle.
struct Scene {
    explicit Scene(const std::string& display) : connection(display) {
        const xcb_rectangle_t shape[] = {{0, 0, 220, 40}, {60, 40, 100, 190}};
        xcb_shape_rectangles(connection.xcb(), XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING,
                             XCB_CLIP_ORDERING_UNSORTED, upper.id(), 0, 0, 2, shape);
        connection.sync();
    }

    /// A window without a background: where its owner hasn't painted, it shows what was seen there before.
    std::uint32_t addBareWindow(const X11Rect& area) const {
        const std::uint32_t events = XCB_EVENT_MASK_EXPOSURE;
        const std::uint32_t window = createWindow(connection, area, XCB_CW_EVENT_MASK, &events);
        xcb_map_window(connection.xcb(), window);
        connection.sync();
        return window;
    }
    /// @return whether the server asked for something to be painted
    bool takeExposures() const {
        bool any = false;
        while (const X11Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection.xcb())}) {
            any = any || (event->response_type & 0x7f) == XCB_EXPOSE;
        }
        return any;
    }
    /// What the screen shows now.
    PixelBuffer screen(const X11Rect& area) const {
        X11FrameGrabber grabber(connection, area.area(), 1);
        const PixelBuffer seen = grabber.grab(connection.root(), {area}).at(0); // the grabber's memory
        PixelBuffer copy = PixelBuffer::allocate(seen.format(), seen.size());
        copy.copyFrom(seen);
        return copy;
    }
    std::size_t topLevelCount() const {
        const X11Owned<xcb_query_tree_reply_t> tree(xcb_query_tree_reply(
            connection.xcb(), xcb_query_tree(connection.xcb(), connection.root()), nullptr));
        return std::size_t(xcb_query_tree_children_length(tree.get()));
    }

    const X11Connection connection;
    const NoiseWindow lower{connection, {60, 60, 260, 200}, {.seed = 1, .channels = withoutRed}};
    const NoiseWindow upper{connection, {200, 140, 220, 230}, {.seed = 2, .channels = withoutRed}};
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
        other.tell(other.unmap);
        output->waitForQuiet();
        EXPECT_LE(worstDifference(beneath.pixels, scene.screen(recorded)), 1) << what << ", beneath";
        EXPECT_LE(worstDifference(output->last().pixels, scene.screen(recorded)), 1) << what << ", after";
        EXPECT_EQ(output->betrayals, 0) << what;
        other.tell(other.map);
    }

    VirtualDisplay display;
    Scene scene;
    OtherApplication other;
    std::shared_ptr<WatchfulOutput> output;
    std::unique_ptr<ScreenStream> stream;
};

TEST_F(X11ExclusionTests, whatExcludedWindowsCoverIsSeenAsIfTheyWereNotThere) {
    (void)scene.addBareWindow({110, 200, 100, 80}); // whose owner never paints
    other.tell(other.create, {150, 100, 150, 150});
    other.tell(other.map);
    start({{}, {other.processID()}});
    expectSceneWithout("there from the start");

    scene.lower.fill({80, 40, 150, 100}, 0x00ff00);
    scene.upper.fill({5, 5, 100, 100}, 0x0000ff);
    expectSceneWithout("changed beneath");

    scene.lower.place({100, 90, 260, 200});
    scene.lower.raise();
    expectSceneWithout("moved and raised over it, and covered again");

    const NoiseWindow newer(scene.connection, {130, 120, 120, 120}, {.seed = 3, .channels = withoutRed});
    expectSceneWithout("a new window, over or under it");
    newer.destroy();
    expectSceneWithout("a window beneath that has gone");

    other.tell(other.place, {-40, 300, 400, 400});
    expectSceneWithout("partly off the screen");

    other.tell(other.destroy);
    other.tell(other.createMenu, {90, 90, 200, 30});
    other.tell(other.map);
    expectSceneWithout("a menu");
}

// The race between reading the screen and windows that come and go, on a server that is kept busy.
TEST_F(X11ExclusionTests, noPictureShowsAnExcludedWindowWhileItIsMappedUnmappedAndDragged) {
    start({{}, {other.processID()}});
    std::mt19937 random(11);
    const auto upTo = [&](int most) {
        return int(random() % unsigned(most));
    };
    const std::jthread changes([this](const std::stop_token& stop) {
        const Scene busy(display.name());
        const std::uint32_t bare = busy.addBareWindow({0, 30, 300, 500});
        for (std::uint32_t i = 0; !stop.stop_requested(); ++i) {
            if (busy.takeExposures()) {
                fillRectangle(busy.connection, bare, {0, 0, 300, 500}, 0x8000);
            }
            busy.lower.fill({int(i % 200), 10, 60, 180}, i * 977 & 0xffff);
            busy.upper.place({200 + int(i % 40), 140, 220, 230});
        }
    });
    for (int round = 0; round < 60; ++round) {
        other.tell(round % 2 == 0 ? other.create : other.createMenu,
                   {upTo(500), upTo(400), 20 + upTo(300), 20 + upTo(300)});
        other.tell(other.map);
        for (int i = upTo(12); i > 0; --i) {
            other.tell(other.place, {upTo(500), upTo(400), 20 + upTo(300), 20 + upTo(300)});
            std::this_thread::sleep_for(std::chrono::milliseconds(upTo(8)));
        }
        if (round % 3 == 0) {
            other.tell(other.unmap);
            std::this_thread::sleep_for(std::chrono::milliseconds(upTo(8)));
            other.tell(other.map);
        }
        other.tell(other.destroy);
    }
    EXPECT_EQ(output->betrayals, 0);
    EXPECT_GT(output->count(), 30U);
}

TEST_F(X11ExclusionTests, aWindowInAFrameBelongsToItsApplicationAndOneElsewhereCostsNothing) {
    const std::uint32_t window = other.tell(other.create, {520, 60, 100, 100});
    other.tell(other.map);
    const std::size_t windows = scene.topLevelCount();
    start({{}, {other.processID()}});
    output->waitForQuiet();
    EXPECT_EQ(scene.topLevelCount(), windows) << "nothing is set up as long as nothing has to be left out";
    EXPECT_LE(worstDifference(output->last().pixels, scene.screen(recorded)), 1);

    // As window managers do it: the frame is theirs.
    other.tell(other.unmap);
    const std::uint32_t color = 0xff0000;
    const std::uint32_t frame =
        createWindow(scene.connection, {120, 90, 140, 150}, XCB_CW_BACK_PIXEL, &color);
    xcb_reparent_window(scene.connection.xcb(), window, frame, 10, 30);
    const std::uint32_t normalState[] = {1, 0};
    const std::uint32_t state = scene.connection.atom("WM_STATE");
    xcb_change_property(scene.connection.xcb(), XCB_PROP_MODE_REPLACE, window, state, state, 32, 2,
                        normalState);
    xcb_map_window(scene.connection.xcb(), window);
    xcb_map_window(scene.connection.xcb(), frame);
    scene.connection.sync();
    output->waitForQuiet();
    const VideoSample beneath = output->last();
    xcb_unmap_window(scene.connection.xcb(), frame);
    scene.connection.sync();
    EXPECT_LE(worstDifference(beneath.pixels, scene.screen(recorded)), 1);
    EXPECT_EQ(output->betrayals, 0);
}

} // namespace
} // namespace tavrin::test
