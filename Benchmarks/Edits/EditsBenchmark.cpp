// Plans the frames of a one-hour take, shows a long burst of keys, and edits a large document: prints `name:
// value unit` lines.

#include <algorithm>
#include <cmath>
#include <memory>
#include <numbers>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <malloc.h>

#include "Measuring/Measuring.h"
#include "TavrinKit/Effects/AutoZoomGenerator.h"
#include "TavrinKit/Effects/EffectGraphRenderer.h"
#include "TavrinKit/Effects/TypingRenderer.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Session/EditorSession.h"

namespace tavrin {
namespace {

using bench::median;
using bench::printFigure;
using bench::secondsTaken;

// The plan

constexpr double duration = 3600;    // seconds
constexpr double previewRate = 30;   // frames a second
constexpr double moveRate = 120;     // a second, while the pointer moves
constexpr double keyRate = 8;        // a second, while somebody types
constexpr double roundDuration = 20; // seconds: what the user does comes round
constexpr double typingStart = 9;    // seconds into a round; the pointer rests meanwhile
constexpr double typingEnd = 14;

Vec2 pointerAt(double time) {
    return {0.5 + 0.4 * std::sin(time * 0.7), 0.5 + 0.4 * std::cos(time * 1.1 * std::numbers::phi)};
}

/// Pointing, four clicks, a few words of typing and a shortcut in every round.
EventTimeline hourOfWork() {
    std::vector<MouseEvent> mouse;
    std::vector<CursorStateEvent> states;
    std::vector<KeyEvent> keys;
    const CursorAppearance arrow("arrow", Bytes(2500, 1), {3, 20}, {24, 24});
    for (int i = 0; i < int(duration * moveRate); ++i) {
        const double time = i / moveRate;
        const double inRound = std::fmod(time, roundDuration);
        if (inRound >= typingStart && inRound < typingEnd) {
            continue;
        }
        mouse.push_back({time, pointerAt(time), MouseEventKind::moved, {}});
        if (i % 4 == 0) {
            states.push_back({time, pointerAt(time), true, arrow});
        }
    }
    for (double start = 0; start < duration; start += roundDuration) {
        for (const double click : {2.0, 5.0, 7.9, 17.0}) {
            mouse.push_back({start + click, pointerAt(start + click), MouseEventKind::clicked, 0});
        }
        for (double time = typingStart; time < typingEnd; time += 1 / keyRate) {
            keys.push_back({start + time, std::string(1, char('a' + keys.size() % 26))});
        }
        keys.push_back({start + typingEnd, "S", {KeyModifier::command}});
    }
    return EventTimeline(std::move(mouse), std::move(keys), std::move(states));
}

void measurePlan() {
    RenderRequest request;
    request.duration = duration;
    request.events = std::make_shared<const EventTimeline>(hourOfWork());
    request.timeline = PremiumDefaults::timelineModel();
    request.timeline.zoomTrack.segments =
        AutoZoomGenerator().generate(*request.events, AutoZoomConfig::standard());
    request.viewport = {{960, 540}, previewRate};
    const EffectGraphRenderer renderer;
    std::vector<double> runs;
    for (int run = 0; run < 3; ++run) {
        runs.push_back(secondsTaken([&] {
            if (renderer.renderPlan(request).size() != std::size_t(duration * previewRate)) {
                throw std::runtime_error("The plan has not as many frames as it should.");
            }
        }));
    }
    printFigure("plan.one_hour", median(runs), "s");
}

// A burst that doesn't end

void measureLongBurst() {
    constexpr int keyCount = 100000;
    constexpr int frameCount = 2000;
    std::vector<KeyEvent> keys;
    for (int i = 0; i < keyCount; ++i) {
        keys.push_back({i / keyRate, std::string(1, char('a' + i % 26))});
    }
    const EventTimeline events({}, std::move(keys));
    const TypingStyle style;
    const TypingBursts bursts(events.keyEvents(), style.burstGapSeconds);
    std::size_t chips = 0;
    const double seconds = secondsTaken([&] {
        for (int i = 0; i < frameCount; ++i) {
            chips +=
                TypingRenderer::frameState(keyCount / keyRate - i / 60.0, events, style, bursts).chips.size();
        }
    });
    if (chips != frameCount) {
        throw std::runtime_error("The burst is not one run of text.");
    }
    printFigure("plan.typing_in_long_burst", seconds * 1e6 / frameCount, "us");
}

// The history

constexpr int regionCount = 500;
constexpr int stepCount = int(EditorSession::undoLimit);

/// Bytes that this process has asked for and not given back.
double heapInUse() {
    const struct mallinfo2 info = mallinfo2();
    return double(info.uordblks + info.hblkhd);
}

EditorSession annotatedSession() {
    EditsDocument edits;
    edits.timeline = PremiumDefaults::timelineModel();
    for (int i = 0; i < regionCount; ++i) {
        edits.timeline.annotationTrack.regions.push_back(
            {.startTime = double(i),
             .endTime = i + 4.0,
             .content = fmt::format("Step {}: open the menu", i)});
    }
    return EditorSession(ProjectPackage("annotated", ProjectManifest{}),
                         std::make_shared<const EventTimeline>(), std::move(edits));
}

/// The time of the slower kind of step: making one, or going back or forth by one.
void measureHistory() {
    EditorSession session = annotatedSession();
    std::vector<double> edits;
    std::vector<double> undos;
    std::vector<double> redos;
    const double before = heapInUse();
    for (int i = 0; i < stepCount; ++i) {
        edits.push_back(secondsTaken([&] {
            session.mutateTimeline([&](TimelineModel& timeline) {
                AnnotationRegion& region =
                    timeline.annotationTrack.regions[std::size_t(i * 37 % regionCount)];
                region.position.x = 0.001 * (i + 1);
                region.content += ", then close it";
            });
        }));
    }
    printFigure("undo.history", (heapInUse() - before) / (1024 * 1024), "MiB");
    for (int i = 0; i < stepCount; ++i) {
        undos.push_back(secondsTaken([&] { session.undo(); }));
    }
    if (session.canUndo()) {
        throw std::runtime_error("The history is longer than it should be.");
    }
    for (int i = 0; i < stepCount; ++i) {
        redos.push_back(secondsTaken([&] { session.redo(); }));
    }
    printFigure("undo.step", std::max({median(edits), median(undos), median(redos)}) * 1000, "ms");
}

} // namespace
} // namespace tavrin

int main() {
    tavrin::measurePlan();
    tavrin::measureLongBurst();
    tavrin::measureHistory();
}
