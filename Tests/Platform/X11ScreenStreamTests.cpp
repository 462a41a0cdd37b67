#include <csignal>
#include <map>
#include <random>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Platform/X11/X11CursorImage.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/HostClock.h"
#include "TestScreen.h"

namespace tavrin::test {
namespace {

X11ErrorCase kindOf(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const X11Error& exception) {
        return exception.kind();
    }
}

std::uint64_t fingerprint(const PixelBuffer& picture) {
    std::uint64_t hash = 14695981039346656037U;
    for (int i = 0; i < picture.planeCount(); ++i) {
        for (int y = 0; y < picture.plane(i).height; ++y) {
            for (int x = 0; x < picture.plane(i).width; ++x) {
                hash = (hash ^ picture.row(i, y)[x]) * 1099511628211U;
            }
        }
    }
    return hash;
}

TEST(X11ScreenStreamTests, firstPictureShowsItsOwnMonitorWithoutTheOther) {
    Canvas canvas(sharedDisplay());
    canvas.fillNoise({0, 0, screenWidth, screenHeight}, 1);
    canvas.sync();
    for (const auto& [name, area, frame] : {std::tuple{"LEFT", leftMonitor, Rect{-501, 51, 501, 399}},
                                            std::tuple{"RIGHT", rightMonitor, Rect{0, 0, 600, 600}}}) {
        const auto output = std::make_shared<RecordingOutput>();
        const double before = HostClock::now();
        const auto stream = makeStream(sharedDisplay(), name, output, false);
        stream->start({});
        ASSERT_TRUE(output->waitForCount(1)) << name;
        const VideoSample sample = output->last();
        EXPECT_LE(worstDifference(sample.pixels, canvas.picture(area)), 1) << name;
        EXPECT_EQ(sample.screenRect, frame) << name;
        EXPECT_GE(sample.presentationTime, before);
        EXPECT_LE(sample.presentationTime, HostClock::now());
    }
}

TEST(X11ScreenStreamTests, croppedAndCutOutPicturesStartAtTheirTopLeft) {
    Canvas canvas(sharedDisplay());
    canvas.fillNoise({0, 0, screenWidth, screenHeight}, 2);
    canvas.sync();
    const auto [output, stream] =
        startStream(sharedDisplay(), "LEFT", false, [](auto&, StreamConfiguration& c) {
            c.sourceRect = Rect{101, 33, 300, 1000}; // reaches below the monitor
            c.width = 200;
            c.height = 100;
        });
    EXPECT_LE(worstDifference(output->last().pixels, canvas.picture({101, 183, 200, 100})), 1);
    canvas.fillNoise({0, 0, screenWidth, screenHeight}, 3);
    canvas.sync();
    ASSERT_TRUE(output->waitForCount(2));
    output->waitForQuiet();
    EXPECT_LE(worstDifference(output->last().pixels, canvas.picture({101, 183, 200, 100})), 1);
}

// Each picture is made of the one before it and of what has changed; some stay with the consumer for long.
TEST(X11ScreenStreamTests, manySmallChangesAddUpToTheScreenAndLeaveHeldPicturesAlone) {
    Canvas canvas(sharedDisplay());
    for (const auto& [name, area] : {std::pair{"LEFT", leftMonitor}, std::pair{"RIGHT", rightMonitor}}) {
        const auto [output, stream] = startStream(sharedDisplay(), name);

        std::mt19937 random(7);
        const auto upTo = [&](int most) {
            return int(random() % unsigned(most));
        };
        std::map<std::uint64_t, VideoSample> held;
        for (int round = 0; round < 40; ++round) {
            const std::size_t before = output->count();
            for (int i = 0; i <= upTo(12); ++i) {
                const X11Rect box{upTo(screenWidth), upTo(screenHeight), 1 + upTo(round % 5 == 0 ? 700 : 60),
                                  1 + upTo(60)};
                const X11Rect inside = box.intersection({0, 0, screenWidth, screenHeight});
                round % 2 == 0 ? canvas.fillNoise(inside, random())
                               : canvas.fill(inside, random() & 0xffffff);
            }
            canvas.fill({area.x + upTo(area.width), area.y + upTo(area.height), 1, 1}, random() & 0xffffff);
            canvas.sync();
            ASSERT_TRUE(output->waitForCount(before + 1));
            if (round % 3 == 0 && held.size() < 8) {
                const VideoSample sample = output->last();
                held.emplace(fingerprint(sample.pixels), sample);
            }
            output->forget();
        }
        canvas.fill({area.x, area.y, 1, 1}, 0xffffff);
        canvas.sync();
        output->waitForQuiet();
        EXPECT_LE(worstDifference(output->last().pixels, canvas.picture(area)), 1) << name;
        for (const auto& [hash, sample] : held) {
            EXPECT_EQ(fingerprint(sample.pixels), hash) << name;
        }
        EXPECT_EQ(stream->droppedFrames(), 0);
    }
}

TEST(X11ScreenStreamTests, picturesComeOnlyWhenSomethingOnTheirMonitorChanges) {
    Canvas canvas(sharedDisplay());
    XTestDriver driver(sharedDisplay());
    const auto [output, stream] = startStream(sharedDisplay(), "RIGHT");
    output->waitForQuiet();
    const std::size_t before = output->count();

    canvas.fill({0, 0, 501, 600}, 0x123456); // the other monitor
    canvas.sync();
    driver.moveTo(700, 300); // a pointer that isn't recorded
    driver.moveTo(800, 310);
    std::this_thread::sleep_for(quiet);
    EXPECT_EQ(output->count(), before);

    canvas.fill({501, 599, 1, 1}, 0xffffff);
    canvas.sync();
    EXPECT_TRUE(output->waitForCount(before + 1));
}

TEST(X11ScreenStreamTests, aRestlessScreenGivesNoMorePicturesThanAllowed) {
    Canvas canvas(sharedDisplay());
    const auto output = std::make_shared<RecordingOutput>();
    const double interval = 1.0 / 60;
    const auto stream = makeStream(sharedDisplay(), "RIGHT", output, false);
    stream->start({});
    const double end = HostClock::now() + 1;
    for (std::uint32_t color = 0; HostClock::now() < end; ++color) {
        canvas.fill({600, 100, 300, 300}, color * 7919 & 0xffffff);
        canvas.sync();
    }
    output->waitForQuiet();
    const std::vector<VideoSample> samples = output->samples();
    ASSERT_GE(samples.size(), 2U);
    const double span = samples.back().presentationTime - samples.front().presentationTime;
    EXPECT_LE(double(samples.size() - 1) * interval, span + interval / 2 + 1e-6);
    for (std::size_t i = 1; i < samples.size(); ++i) {
        EXPECT_GE(samples[i].presentationTime - samples[i - 1].presentationTime, interval / 2 - 1e-6);
    }
    // What was painted last is seen, though the pace may have held it back.
    EXPECT_LE(worstDifference(output->last().pixels, canvas.picture(rightMonitor)), 1);
    EXPECT_EQ(stream->droppedFrames(), 0);
}

/// A pointer of 9 x 9 with a white cross on black, pointing with (4, 6).
void usePointer(const Canvas& canvas, int hotSpotX = 4, int hotSpotY = 6) {
    xcb_connection_t* xcb = canvas.connection().xcb();
    const xcb_pixmap_t shape = xcb_generate_id(xcb);
    const xcb_pixmap_t mask = xcb_generate_id(xcb);
    const xcb_gcontext_t context = xcb_generate_id(xcb);
    for (const xcb_pixmap_t pixmap : {shape, mask}) {
        xcb_create_pixmap(xcb, 1, pixmap, canvas.connection().root(), 9, 9);
    }
    xcb_create_gc(xcb, context, shape, 0, nullptr);
    const auto paint = [&](xcb_pixmap_t pixmap, std::uint32_t value, xcb_rectangle_t area) {
        xcb_change_gc(xcb, context, XCB_GC_FOREGROUND, &value);
        xcb_poly_fill_rectangle(xcb, pixmap, context, 1, &area);
    };
    paint(shape, 0, {0, 0, 9, 9});
    paint(shape, 1, {4, 0, 1, 9});
    paint(shape, 1, {0, 6, 9, 1});
    paint(mask, 0, {0, 0, 9, 9});
    paint(mask, 1, {0, 0, 9, 8});
    const xcb_cursor_t cursor = xcb_generate_id(xcb);
    xcb_create_cursor(xcb, cursor, shape, mask, 0xffff, 0xffff, 0xffff, 0, 0, 0, std::uint16_t(hotSpotX),
                      std::uint16_t(hotSpotY));
    xcb_change_window_attributes(xcb, canvas.connection().root(), XCB_CW_CURSOR, &cursor);
    canvas.sync();
}

PixelBuffer withPointer(const Canvas& canvas, const X11Rect& area, int x, int y) {
    const PixelBuffer picture = canvas.picture(area);
    const auto paint = [&](int column, int row, std::uint8_t value) {
        const int px = x - 4 + column - area.x;
        const int py = y - 6 + row - area.y;
        if (px >= 0 && py >= 0 && px < area.width && py < area.height) {
            std::fill_n(picture.row(0, py) + std::ptrdiff_t(px) * 4, 3, value);
        }
    };
    for (int row = 0; row < 8; ++row) {
        for (int column = 0; column < 9; ++column) {
            paint(column, row, column == 4 || row == 6 ? 255 : 0);
        }
    }
    return picture;
}

TEST(X11ScreenStreamTests, pointerIsDrawnWhereItPointsAndWhatLayUnderItComesBack) {
    Canvas canvas(sharedDisplay());
    canvas.fillNoise({0, 0, screenWidth, screenHeight}, 5);
    usePointer(canvas);
    XTestDriver driver(sharedDisplay());
    driver.moveTo(600, 300);
    const auto [output, stream] = startStream(sharedDisplay(), "RIGHT", true);
    // Inside, over the corners and edges, half and wholly on the other monitor.
    for (const auto& [x, y] : {std::pair{600, 300},
                               {605, 303},
                               {501, 0},
                               {1100, 599},
                               {503, 300},
                               {497, 301},
                               {400, 301},
                               {750, 597},
                               {751, 2}}) {
        driver.moveTo(x, y);
        const bool isRight = eventually([&, x = x, y = y] {
            return worstDifference(output->last().pixels, withPointer(canvas, rightMonitor, x, y)) <= 1;
        });
        EXPECT_TRUE(isRight) << x << ", " << y;
    }
    // Drawn over as well when only what lies below it changes.
    canvas.fill({700, 0, 100, 20}, 0x30a020);
    canvas.sync();
    EXPECT_TRUE(eventually([&] {
        return worstDifference(output->last().pixels, withPointer(canvas, rightMonitor, 751, 2)) <= 1;
    }));
    output->waitForQuiet();
    usePointer(canvas, 0, 0); // the same picture, further to the right and down
    EXPECT_TRUE(eventually([&] {
        return worstDifference(output->last().pixels, withPointer(canvas, rightMonitor, 755, 8)) <= 1;
    }));
}

TEST(X11CursorImageTests, translucentPixelsAreMixedAndClipped) {
    X11CursorImage image;
    image.width = 2;
    image.height = 2;
    image.pixels = {0xffffffff, 0x80404040, 0x00000000, 0x40400000};
    const PixelBuffer under = PixelBuffer::allocate(PixelFormat::bgra8, {2, 2});
    std::fill_n(under.row(0, 0), 8, std::uint8_t(200));
    std::fill_n(under.row(0, 1), 8, std::uint8_t(200));
    image.drawAt(10, 20, under, {9, 20, 2, 2}); // its left column in our right one
    const auto pixel = [&](int x, int y) {
        return std::vector<int>(under.row(0, y) + std::ptrdiff_t(x) * 4,
                                under.row(0, y) + std::ptrdiff_t(x) * 4 + 3);
    };
    EXPECT_THAT(pixel(0, 0), testing::ElementsAre(200, 200, 200));
    EXPECT_THAT(pixel(1, 0), testing::ElementsAre(255, 255, 255));
    EXPECT_THAT(pixel(1, 1), testing::ElementsAre(200, 200, 200));
    image.drawAt(9, 20, under, {9, 20, 2, 2});
    EXPECT_THAT(pixel(1, 1), testing::ElementsAre(150, 150, 150 + 64));
    EXPECT_THAT(pixel(1, 0), testing::ElementsAre(64 + 127, 64 + 127, 64 + 127));
}

TEST(X11ScreenStreamTests, endsWithAnErrorWhenTheServerOrTheDisplayGoes) {
    struct Case {
        const char* description;
        std::function<void(VirtualDisplay&)> disturb;
        X11ErrorCase expected;
    };
    const Case cases[] = {
        {"server killed", [](VirtualDisplay& display) { display.crash(); }, X11ErrorCase::serverGone},
        {"monitor pulled out",
         [](VirtualDisplay& display) {
             display.setMonitors({{"RIGHT", 501, 0, {600, 600}, true}});
         },
         X11ErrorCase::displayVanished},
        {"monitor made smaller",
         [](VirtualDisplay& display) {
             display.setMonitors({{"LEFT", 0, 150, {400, 399}, false}, {"RIGHT", 501, 0, {600, 600}, true}});
         },
         X11ErrorCase::displayVanished},
    };
    for (const Case& each : cases) {
        VirtualDisplay display(twoMonitors());
        const auto [output, stream] = startStream(display.name(), "LEFT", true);
        each.disturb(display);
        ASSERT_TRUE(output->waitForStop()) << each.description;
        EXPECT_EQ(kindOf(output->error()), each.expected) << each.description;
        stream->stop({});
        EXPECT_EQ(output.use_count(), 1) << each.description << ": the output is let go";
    }
}

TEST(X11ScreenStreamTests, followsADisplayThatMoves) {
    VirtualDisplay display(twoMonitors());
    Canvas canvas(display.name());
    canvas.fillNoise({0, 0, screenWidth, screenHeight}, 9);
    canvas.sync();
    const auto [output, stream] = startStream(display.name(), "LEFT");
    display.setMonitors({{"LEFT", 13, 21, {600, 450}, false}, {"RIGHT", 613, 0, {400, 600}, true}});
    EXPECT_TRUE(eventually([&] {
        return worstDifference(output->last().pixels, canvas.picture({13, 21, 501, 399})) <= 1;
    }));
}

TEST(X11ScreenStreamTests, nothingFollowsAfterTheOutputIsTakenOffOrTheStreamStopped) {
    const RestlessSpot spot(sharedDisplay());
    for (int round = 0; round < 10; ++round) {
        const auto output = std::make_shared<RecordingOutput>();
        auto stream = makeStream(sharedDisplay(), "RIGHT", output, false);
        stream->start({});
        EXPECT_TRUE(output->waitForCount(2));
        if (round % 3 == 0) {
            stream->removeOutput();
        } else if (round % 3 == 1) {
            stream->stop({});
        } else {
            stream.reset();
        }
        const std::size_t count = output->count();
        std::this_thread::sleep_for(std::chrono::milliseconds(40));
        EXPECT_EQ(output->count(), count);
        EXPECT_FALSE(output->error());
    }
}

/// Ends its stream from within a picture.
class SelfEndingOutput : public RecordingOutput {
public:
    std::unique_ptr<ScreenStream> stream;

    using RecordingOutput::didOutput;
    void didOutput(VideoSample sample) override {
        stream.reset();
        RecordingOutput::didOutput(std::move(sample));
    }
};

TEST(X11ScreenStreamTests, mayBeDestroyedByItsOwnOutput) {
    const auto output = std::make_shared<SelfEndingOutput>();
    output->stream = makeStream(sharedDisplay(), "LEFT", output, true);
    ScreenStream& stream = *output->stream;
    stream.start({});
    ASSERT_TRUE(output->waitForCount(1));
    EXPECT_TRUE(eventually([&] { return output.use_count() == 1; }));
}

TEST(X11ScreenStreamTests, aConsumerThatKeepsAllLosesPicturesButNotTheLatestChange) {
    Canvas canvas(sharedDisplay());
    const auto output = std::make_shared<RecordingOutput>(1000);
    const auto stream = makeStream(sharedDisplay(), "RIGHT", output, false,
                                   [](auto&, StreamConfiguration& c) { c.queueDepth = 1; });
    stream->start({});
    EXPECT_TRUE(eventually([&] {
        canvas.fillNoise({700, 300, 20, 20}, std::uint32_t(output->count()));
        canvas.sync();
        return stream->droppedFrames() >= 3;
    }));
    const std::size_t kept = output->count();
    output->forget();
    EXPECT_TRUE(output->waitForCount(1));
    EXPECT_LE(worstDifference(output->last().pixels, canvas.picture(rightMonitor)), 1);
    EXPECT_LE(kept, 4U);
}

TEST(X11ScreenStreamTests, stopsThoughTheServerHangs) {
    VirtualDisplay display(twoMonitors());
    const RestlessSpot spot(display.name());
    const auto output = std::make_shared<RecordingOutput>();
    const auto stream = makeStream(display.name(), "RIGHT", output, true);
    stream->start({});
    EXPECT_TRUE(output->waitForCount(3));
    ::kill(display.processID(), SIGSTOP);
    output->waitForQuiet(); // It now waits for an answer.
    std::stop_source cancelled;
    cancelled.request_stop();
    EXPECT_THROW(stream->stop(cancelled.get_token()), CancellationError);
    EXPECT_FALSE(output->error());
    ::kill(display.processID(), SIGCONT);
}

TEST(X11ScreenStreamTests, serversAndSourcesThatWontDoAreTold) {
    struct Case {
        const char* description;
        std::function<void()> attempt;
        X11ErrorCase expected;
    };
    const auto streamOn = [](const std::vector<std::string>& disabledExtensions, int depth) {
        VirtualDisplay::Settings settings;
        settings.size = {64, 64};
        settings.disabledExtensions = disabledExtensions;
        settings.depth = depth;
        const VirtualDisplay display(settings);
        makeStream(display.name(), "screen", std::make_shared<RecordingOutput>(), true)->start({});
    };
    const auto streamOf = [](const ContentFilter& filter) {
        StreamConfiguration configuration;
        configuration.width = 64;
        configuration.height = 64;
        (void)X11CaptureBackend(sharedDisplay())
            .makeStream(filter, configuration, std::make_shared<RecordingOutput>());
    };
    const Case cases[] = {
        {"no shared memory", [&] { streamOn({"MIT-SHM"}, 24); }, X11ErrorCase::extensionMissing},
        {"no damage", [&] { streamOn({"DAMAGE"}, 24); }, X11ErrorCase::extensionMissing},
        {"16 bits", [&] { streamOn({}, 16); }, X11ErrorCase::unsuitablePixels},
        {"no server", [] { (void)X11CaptureBackend(":9999").shareableContent(true, true); },
         X11ErrorCase::connectionFailed},
        {"unknown display",
         [&] {
             ContentFilter filter;
             filter.content = ContentFilter::Display{99, {}, {}};
             streamOf(filter);
         },
         X11ErrorCase::displayNotFound},
        {"unknown window",
         [&] {
             ContentFilter filter;
             filter.content = ContentFilter::Window{1};
             streamOf(filter);
         },
         X11ErrorCase::windowNotFound},
    };
    for (const Case& each : cases) {
        try {
            each.attempt();
            ADD_FAILURE() << each.description;
        } catch (const X11Error& error) {
            EXPECT_EQ(error.kind(), each.expected) << each.description << ": " << error.what();
        }
    }
}

} // namespace
} // namespace tavrin::test
