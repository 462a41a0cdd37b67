#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>
#include <optional>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Child.h"
#include "Examples/Walkthrough/ScreenTake.h"
#include "TavrinKit/Media/MovieReader.h"
#include "TavrinKit/Platform/X11/VirtualDisplay.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"
#include "TestDesktop.h"

namespace tavrin::test {

namespace {

constexpr double frameInterval = 1.0 / 60;
constexpr double takeSeconds = 20;
constexpr PixelSize screen{1280, 720};

/// A path with curves up to some 900 pixels a second, a rest every few seconds, and leaps.
Vec2 pathAt(double time) {
    const double moving = std::floor(time / 3) * 2.6 + std::min(std::fmod(time, 3.0), 2.6);
    const double leap = std::fmod(std::floor(time / 4), 2.0) * 90;
    return {640 + leap + 420 * std::sin(moving * 1.9),
            360 + 240 * std::sin(moving * 1.3 + 0.7) * std::cos(moving * 0.31)};
}

void moveAlongPath(XTestDriver& hand) {
    const auto start = std::chrono::steady_clock::now();
    for (int step = 0; step < int(takeSeconds * 125); ++step) {
        std::this_thread::sleep_until(start + step * std::chrono::milliseconds(8));
        const Vec2 place =
            pathAt(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        hand.moveTo(int(std::lround(place.x)), int(std::lround(place.y)));
    }
}

/// The middle of everything that is lighter than the desktop.
std::optional<Vec2> findDisk(const PixelBuffer& picture) {
    constexpr int threshold = 175; // halfway between the board's lightest grey and white, as luma
    std::int64_t count = 0;
    std::int64_t sumX = 0;
    std::int64_t sumY = 0;
    const PixelBuffer::Plane& luma = picture.plane(0);
    for (int y = 0; y < luma.height; ++y) {
        const std::uint8_t* row = picture.row(0, y);
        for (int x = 0; x < luma.width; ++x) {
            if (row[x] > threshold) {
                ++count;
                sumX += x;
                sumY += y;
            }
        }
    }
    if (count < 100) {
        return std::nullopt;
    }
    return Vec2{double(sumX) / double(count), double(sumY) / double(count)};
}

/// How far the nearest place is at which the pointer was within one frame interval of a time.
double distanceFromEvents(Vec2 found, double time, const std::vector<MouseEvent>& events) {
    const auto later = [](double t, const MouseEvent& event) {
        return t < event.timestamp;
    };
    auto event = std::upper_bound(events.begin(), events.end(), time - frameInterval, later);
    if (event != events.begin()) {
        --event; // where it rested when the interval began
    }
    double nearest = 1e9;
    for (; event != events.end() && event->timestamp <= time + frameInterval; ++event) {
        const Vec2 place{event->location.x * screen.width, (1 - event->location.y) * screen.height};
        nearest = std::min(nearest, std::hypot(found.x - place.x, found.y - place.y));
    }
    return nearest;
}

} // namespace

TEST(Sync, ThePointerIsInThePictureWhereTheEventsSay) {
    const TemporaryFolder folder;
    VirtualDisplay::Settings settings;
    settings.size = screen;
    const VirtualDisplay display(settings);
    const TestDesktop desktop(display.name());
    XTestDriver hand(display.name());
    hand.moveTo(int(pathAt(0).x), int(pathAt(0).y));

    demo::ScreenTake take(
        {.display = display.name(), .outputDirectory = folder.path(), .excludeCursor = false});
    take.start();
    moveAlongPath(hand);
    take.finish();

    const std::vector<MouseEvent>& events = take.session().events().mouseEvents();
    ASSERT_GT(events.size(), 1000U);
    VideoReader reader(take.session().package().screenURL());
    int frames = 0;
    int astray = 0;
    double worst = 0;
    while (const std::optional<DecodedFrame> frame = reader.next()) {
        if (frame->time < events.front().timestamp) {
            continue;
        }
        const std::optional<Vec2> found = findDisk(frame->pixels);
        ASSERT_TRUE(found) << "no pointer in the picture at " << frame->time;
        const double distance = distanceFromEvents(*found, frame->time, events);
        worst = std::max(worst, distance);
        ++frames;
        if (distance > 1.5) {
            ++astray;
            ADD_FAILURE() << "at " << frame->time << " the pointer is " << distance
                          << " pixels from all events";
            if (astray == 10) {
                break;
            }
        }
    }
    EXPECT_GT(frames, 400);
    RecordProperty("frames", frames);
    RecordProperty("worstDistance", std::to_string(worst));
}

} // namespace tavrin::test
