// Loads the events of a one-hour take and draws its cursor: prints `name: value unit` lines.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "Fixtures/TemporaryFolder.h"
#include "Measuring/Measuring.h"
#include "TavrinKit/Effects/CursorRenderer.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Project/ProjectPackage.h"

namespace tavrin {
namespace {

constexpr double duration = 3600;      // seconds
constexpr double mouseEventRate = 100; // a second
constexpr double cursorStateRate = 30; // a second
constexpr int batchSize = 1000;        // calls between two looks at the clock
constexpr int batchCount = 300;

using bench::printFigure;
using bench::secondsTaken;

Vec2 pointerAt(double time) {
    return {0.5 + 0.4 * std::sin(time * 0.7), 0.5 + 0.4 * std::cos(time * 1.1 * std::numbers::phi)};
}

/// As many bytes as a cursor's picture has, different ones for each cursor.
CursorAppearance appearance(int number) {
    Bytes picture(2500);
    std::mt19937 random{std::uint32_t(number)};
    std::generate(picture.begin(), picture.end(), [&] { return std::uint8_t(random()); });
    return CursorAppearance("cursor-" + std::to_string(number), std::move(picture), {3, 20}, {24, 24});
}

/// Moves without a pause, with a click every other second and a drag now and then.
EventTimeline hourOfEvents() {
    std::vector<MouseEvent> mouse;
    for (int i = 0; i < int(duration * mouseEventRate); ++i) {
        const double time = i / mouseEventRate;
        const bool clicks = i % 200 == 0;
        const bool drags = i % 1000 > 950;
        mouse.push_back({time, pointerAt(time),
                         clicks  ? MouseEventKind::clicked
                         : drags ? MouseEventKind::dragged
                                 : MouseEventKind::moved,
                         clicks ? std::optional<std::int64_t>(0) : std::nullopt});
    }
    std::vector<CursorAppearance> appearances;
    for (int i = 0; i < 8; ++i) {
        appearances.push_back(appearance(i));
    }
    std::vector<CursorStateEvent> states;
    for (int i = 0; i < int(duration * cursorStateRate); ++i) {
        const double time = i / cursorStateRate;
        states.push_back(
            {time, pointerAt(time), true, appearances[std::size_t(i / 50) % appearances.size()]});
    }
    return EventTimeline(std::move(mouse), {}, std::move(states));
}

EventTimeline measureLoad(const ProjectPackage& package) {
    bench::resetPeakMemory();
    EventTimeline events;
    printFigure("events.load", secondsTaken([&] { events = package.loadEvents(); }), "s");
    printFigure("events.load.memory", bench::peakMemory(), "MiB");
    return events;
}

/// Microseconds of one call, from a batch at random instants in the `part`-th of the parts of the take.
double microsecondsPerFrame(const EventTimeline& events, const CursorStyle& style, int part,
                            std::mt19937& random, double& checksum) {
    const double length = duration / batchCount;
    std::uniform_real_distribution instant(part * length, (part + 1) * length);
    std::vector<double> times(batchSize);
    std::generate(times.begin(), times.end(), [&] { return instant(random); });
    const double seconds = secondsTaken([&] {
        for (const double time : times) {
            checksum += CursorRenderer::frameState(time, events, style).position.x;
        }
    });
    return seconds * 1e6 / batchSize;
}

void measureFrameState(const EventTimeline& events) {
    CursorStyle style = PremiumDefaults::timelineModel().cursorTrack.style;
    style.smoothing = CursorSmoothingPreset::high;
    style.trailStyle = CursorTrailStyle::dynamic;
    style.trailLengthSeconds = style.glyphStabilizationSeconds = style.clickHighlightDurationSeconds = 1.2;
    std::mt19937 random(1);
    double checksum = 0;
    std::vector<double> batches;
    for (int part = 0; part < batchCount; ++part) {
        // The better of two, so that what another process took isn't charged to the cursor.
        const double first = microsecondsPerFrame(events, style, part, random, checksum);
        batches.push_back(std::min(first, microsecondsPerFrame(events, style, part, random, checksum)));
    }
    printFigure("cursor.frame_state", std::ranges::max(batches), "us");
    printFigure("cursor.frame_state.median", bench::median(batches), "us");
    if (!std::isfinite(checksum)) {
        throw std::runtime_error("The cursor left the plane.");
    }
}

} // namespace
} // namespace tavrin

int main() {
    using namespace tavrin;
    const test::TemporaryFolder folder;
    const ProjectPackage package(folder / "take", ProjectManifest{});
    package.createDirectoriesIfNeeded();
    package.saveEvents(hourOfEvents());
    measureFrameState(measureLoad(package));
}
