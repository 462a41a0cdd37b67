#include <csignal>
#include <map>
#include <random>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/HostClock.h"
#include "TestScreen.h"

namespace tavrin::test {
namespace {

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

// Each picture is made of the one before it and of what has changed; some stay with the consumer for long.
TEST(X11ScreenStreamTests, manySmallChangesAddUpToTheScreenAndLeaveHeldPicturesAlone) {
    Canvas canvas(sharedDisplay());
    for (const auto& [name, area, frame] : {std::tuple{"LEFT", leftMonitor, Rect{-501, 51, 501, 399}},
                                            std::tuple{"RIGHT", rightMonitor, Rect{0, 0, 600, 600}}}) {
        const auto [output, stream] = startStream(sharedDisplay(), name);
        EXPECT_EQ(output->last().screenRect, frame) << name;
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

/// With the pointer of `usePointer` pointing at (x, y) with its pixel (4, 6).
PixelBuffer withPointer(const Canvas& canvas, const X11Rect& area, int x, int y) {
    const PixelBuffer picture = canvas.picture(area);
    for (int row = 0; row < 9; ++row) {
        for (int column = 0; column < 9; ++column) {
            const int px = x - 4 + column - area.x;
            const int py = y - 6 + row - area.y;
            if (px >= 0 && py >= 0 && px < area.width && py < area.height) {
                std::fill_n(picture.row(0, py) + std::ptrdiff_t(px) * 4, 3, column < 4 && row < 6 ? 255 : 0);
            }
        }
    }
    return picture;
}

TEST(X11ScreenStreamTests, pointerIsDrawnWhereItPointsAndWhatLayUnderItComesBack) {
    Canvas canvas(sharedDisplay());
    canvas.fillNoise({0, 0, screenWidth, screenHeight}, 5);
    usePointer(canvas.connection(), 4, 6);
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
    usePointer(canvas.connection(), 0, 0); // the same picture, further to the right and down
    EXPECT_TRUE(eventually([&] {
        return worstDifference(output->last().pixels, withPointer(canvas, rightMonitor, 755, 8)) <= 1;
    }));
}

TEST(X11ScreenStreamTests, endsWithAnErrorWhenTheServerOrTheDisplayGoes) {
    for (const auto expected : {X11ErrorCase::serverGone, X11ErrorCase::displayVanished}) {
        VirtualDisplay display(twoMonitors());
        const auto [output, stream] = startStream(display.name(), "LEFT", true);
        if (expected == X11ErrorCase::serverGone) {
            display.crash();
        } else {
            display.setMonitors({{"RIGHT", 501, 0, {600, 600}, true}});
        }
        ASSERT_TRUE(output->waitForStop());
        EXPECT_THAT([&output = output] { std::rethrow_exception(output->delivered().error); },
                    testing::Throws<X11Error>(testing::Property(&X11Error::kind, expected)));
        stream->stop({});
        EXPECT_EQ(output.use_count(), 1) << "the output is let go";
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
        EXPECT_FALSE(output->delivered().error);
    }
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
    EXPECT_FALSE(output->delivered().error);
    ::kill(display.processID(), SIGCONT);
}

TEST(X11ScreenStreamTests, serversThatWontDoAreTold) {
    VirtualDisplay::Settings withoutSharedMemory;
    withoutSharedMemory.disabledExtensions = {"MIT-SHM"};
    VirtualDisplay::Settings with16Bits;
    with16Bits.depth = 16;
    for (const auto& [settings, expected] : {std::pair{withoutSharedMemory, X11ErrorCase::extensionMissing},
                                             std::pair{with16Bits, X11ErrorCase::unsuitablePixels}}) {
        const VirtualDisplay display(settings);
        const auto attempt = [&] {
            makeStream(display.name(), "screen", std::make_shared<RecordingOutput>(), true)->start({});
        };
        EXPECT_THAT(attempt, testing::Throws<X11Error>(testing::Property(&X11Error::kind, expected)));
    }
}

} // namespace
} // namespace tavrin::test
