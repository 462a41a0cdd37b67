#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "Examples/Walkthrough/ScreenTake.h"
#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Media/VideoReader.h"
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

/// @return by how many seconds a move came too late at worst: how long the machine made this thread wait
double moveAlongPath(XTestDriver& hand) {
    const auto start = std::chrono::steady_clock::now();
    double latest = 0;
    for (int step = 0; step < int(takeSeconds * 125); ++step) {
        const auto due = start + step * std::chrono::milliseconds(8);
        std::this_thread::sleep_until(due);
        const auto now = std::chrono::steady_clock::now();
        latest = std::max(latest, std::chrono::duration<double>(now - due).count());
        const Vec2 place = pathAt(std::chrono::duration<double>(now - start).count());
        hand.moveTo(int(std::lround(place.x)), int(std::lround(place.y)));
    }
    return latest;
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

Vec2 placeOf(const MouseEvent& event) {
    return {event.location.x * screen.width, (1 - event.location.y) * screen.height};
}

double distanceFromSegment(Vec2 point, Vec2 from, Vec2 to) {
    const Vec2 way = to - from;
    const Vec2 offset = point - from;
    const double length = way.x * way.x + way.y * way.y;
    const double share =
        length > 0 ? std::clamp((offset.x * way.x + offset.y * way.y) / length, 0.0, 1.0) : 0.0;
    return std::hypot(offset.x - share * way.x, offset.y - share * way.y);
}

/// How far a place is from the pointer's way within one frame interval of a time. Quick moves may have been
/// told as one: between two events the pointer went straight.
double distanceFromEvents(Vec2 found, double time, const std::vector<MouseEvent>& events) {
    const auto later = [](double t, const MouseEvent& event) {
        return t < event.timestamp;
    };
    auto event = std::upper_bound(events.begin(), events.end(), time - frameInterval, later);
    if (event != events.begin()) {
        --event; // where it rested when the interval began
    }
    double nearest = distanceFromSegment(found, placeOf(*event), placeOf(*event));
    for (; event + 1 != events.end() && (event + 1)->timestamp <= time + frameInterval; ++event) {
        nearest = std::min(nearest, distanceFromSegment(found, placeOf(*event), placeOf(*(event + 1))));
    }
    return nearest;
}

struct Observation {
    double latestMove = 0; ///< seconds
    int frames = 0;
    std::vector<std::string> astray; ///< what was seen of the pictures that don't fit the events
};

Observation observeTake() {
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
    Observation observation;
    observation.latestMove = moveAlongPath(hand);
    take.finish();

    const std::vector<MouseEvent>& events = take.session().events().mouseEvents();
    VideoReader reader(take.session().package().screenURL());
    while (const std::optional<DecodedFrame> frame = reader.next()) {
        if (events.empty() || frame->time < events.front().timestamp) {
            continue;
        }
        ++observation.frames;
        const std::optional<Vec2> found = findDisk(frame->pixels);
        const double distance = found ? distanceFromEvents(*found, frame->time, events) : 1e9;
        if (distance > 1.5) {
            observation.astray.push_back(fmt::format("at {:.3f} s by {:.1f} pixels", frame->time, distance));
        }
    }
    return observation;
}

} // namespace

TEST(Sync, ThePointerIsInThePictureWhereTheEventsSay) {
    constexpr int attempts = 3;
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        const Observation observation = observeTake();
        // A machine that makes threads wait for longer than a frame says nothing about the recorder.
        const bool starved = observation.latestMove > frameInterval / 2;
        if (starved && attempt < attempts && !observation.astray.empty()) {
            continue;
        }
        EXPECT_GT(observation.frames, 400);
        EXPECT_TRUE(observation.astray.empty())
            << observation.astray.size() << " of " << observation.frames << " pictures astray, the first "
            << observation.astray.front() << "; moves came up to " << observation.latestMove << " s late";
        return;
    }
}

} // namespace tavrin::test
