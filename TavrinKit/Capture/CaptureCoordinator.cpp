#include "TavrinKit/Capture/CaptureCoordinator.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <set>
#include <utility>

#include <fmt/format.h>

#include "TavrinKit/Capture/CaptureInputCoordinateNormalizer.h"
#include "TavrinKit/Capture/CapturePackageAssembler.h"
#include "TavrinKit/Support/Log.h"
#include "TavrinKit/Support/Race.h"

namespace tavrin {
namespace {

constexpr double shortestTimeout = 0.1;  // seconds
constexpr double longestTimeout = 86400; // seconds; keeps the clock's arithmetic in range

double usableTimeout(double seconds) {
    return std::isnan(seconds) ? shortestTimeout : std::clamp(seconds, shortestTimeout, longestTimeout);
}

std::chrono::nanoseconds nanoseconds(double seconds) {
    return std::chrono::nanoseconds(std::llround(seconds * 1e9));
}

/// Runs a function when the scope ends, however it ends.
template <typename Function>
class AtScopeEnd {
public:
    explicit AtScopeEnd(Function function) : function_(std::move(function)) {}
    ~AtScopeEnd() { function_(); }
    AtScopeEnd(const AtScopeEnd&) = delete;
    AtScopeEnd& operator=(const AtScopeEnd&) = delete;

private:
    Function function_;
};

double lastTimestamp(const auto& events) {
    return events.empty() ? 0.0 : events.back().timestamp;
}

/// The host clock time of the take's start when the events carry host clock times; 0 when they already
/// count from the start. The two differ by decades, so that their size tells.
double clockOffset(const EventTimeline& timeline, const ScreenCaptureResult& result) {
    const double duration = result.duration();
    const double latest =
        std::max({lastTimestamp(timeline.mouseEvents()), lastTimestamp(timeline.keyEvents()),
                  lastTimestamp(timeline.cursorStates())});
    const double tolerance = std::max(duration * 0.25, 1.0);
    const bool isHostClock = result.startedAt > 0 && latest > 0 && duration + tolerance < latest;
    return isHostClock ? result.startedAt : 0;
}

} // namespace

CaptureCoordinatorError CaptureCoordinatorError::startTimedOut(double timeoutSeconds) {
    return {CaptureCoordinatorErrorKind::startTimedOut,
            fmt::format("Recording start timed out after {:.1f} seconds.", timeoutSeconds), timeoutSeconds};
}

CaptureCoordinatorError CaptureCoordinatorError::stopTimedOut(double timeoutSeconds) {
    return {CaptureCoordinatorErrorKind::stopTimedOut,
            fmt::format("Recording stop timed out after {:.1f} seconds.", timeoutSeconds), timeoutSeconds};
}

CaptureCoordinatorError CaptureCoordinatorError::noActiveSession() {
    return {CaptureCoordinatorErrorKind::noActiveSession, "No recording session is active."};
}

CaptureCoordinatorError CaptureCoordinatorError::alreadyRecording() {
    return {CaptureCoordinatorErrorKind::alreadyRecording, "A recording session is already active."};
}

CaptureCoordinator::CaptureCoordinator(std::shared_ptr<ScreenStreamCapture> screenCapture,
                                       std::shared_ptr<InputEventRecorder> inputRecorder,
                                       double stopTimeoutSeconds, double startTimeoutSeconds)
    : screenCapture_(std::move(screenCapture)), inputRecorder_(std::move(inputRecorder)),
      stopTimeoutSeconds_(usableTimeout(stopTimeoutSeconds)),
      startTimeoutSeconds_(usableTimeout(startTimeoutSeconds)) {}

void CaptureCoordinator::startRecording(const std::filesystem::path& projectURL,
                                        const CaptureOptions& options, const std::stop_token& stop) {
    if (!movePhase(Phase::idle, Phase::starting)) {
        throw CaptureCoordinatorError::alreadyRecording();
    }
    try {
        startCaptureWithTimeout(options, stop);
    } catch (...) {
        cancelCaptureAfterFailure(startTimeoutSeconds_);
        endSession();
        throw;
    }
    inputRecorder_->start();
    state_.with([&](State& state) {
        state.phase = Phase::recording;
        state.session = RecordingSessionState{projectURL, options};
    });
}

ProjectPackage CaptureCoordinator::stopRecording(const EditsDocument& initialEdits,
                                                 const std::stop_token& stop) {
    if (!movePhase(Phase::recording, Phase::stopping)) {
        throw CaptureCoordinatorError::noActiveSession();
    }
    const AtScopeEnd ending([this] { endSession(); });
    const RecordingSessionState session = *activeSession();

    ScreenCaptureResult result;
    try {
        result = stopCaptureWithTimeout(stop);
    } catch (...) {
        inputRecorder_->stop();
        cancelCaptureAfterFailure(stopTimeoutSeconds_);
        throw;
    }
    const EventTimeline events = normalizedTimeline(inputRecorder_->stop(), result, session.options);
    return CapturePackageAssembler(session, result).assemble(events, initialEdits);
}

std::optional<RecordingSessionState> CaptureCoordinator::activeSession() const {
    return state_.with([](const State& state) { return state.session; });
}

void CaptureCoordinator::recordMouseMove(double time, double x, double y) {
    inputRecorder_->recordMove(time, {x, y});
}

void CaptureCoordinator::recordMouseClick(double time, double x, double y, int button) {
    inputRecorder_->recordClick(time, {x, y}, button);
}

void CaptureCoordinator::recordMouseDrag(double time, double x, double y) {
    inputRecorder_->recordDrag(time, {x, y});
}

void CaptureCoordinator::recordKeyPress(double time, std::string_view text,
                                        const std::vector<KeyModifier>& modifiers,
                                        KeyEventContentKind contentKind, bool isRepeat) {
    inputRecorder_->recordKey(time, text, modifiers, contentKind, isRepeat);
}

void CaptureCoordinator::recordCursorState(double time, double x, double y, bool visible,
                                           const CursorAppearance& appearance) {
    inputRecorder_->recordCursorState(time, {x, y}, visible, appearance);
}

EventTimeline CaptureCoordinator::normalizedTimeline(const EventTimeline& timeline,
                                                     const ScreenCaptureResult& captureResult,
                                                     const CaptureOptions& options) {
    if (timeline.isEmpty()) {
        return timeline;
    }
    const double duration = captureResult.duration();
    const double offset = clockOffset(timeline, captureResult);
    const CaptureInputCoordinateNormalizer normalizer(options, captureResult.geometrySamples);
    const auto rebased = [&](double time) {
        const double elapsed = time - offset;
        return elapsed > 0 ? std::min(elapsed, duration) : 0.0;
    };
    const auto placed = [&](const auto& events) {
        auto result = events;
        result.clear();
        result.reserve(events.size());
        for (const auto& event : events) {
            if (const auto location = normalizer.normalizedLocation(event.location, event.timestamp)) {
                auto& made = result.emplace_back(event);
                made.timestamp = rebased(event.timestamp);
                made.location = *location;
            }
        }
        return result;
    };
    std::vector<KeyEvent> keys;
    keys.reserve(timeline.keyEvents().size());
    for (const KeyEvent& event : timeline.keyEvents()) {
        KeyEvent& made = keys.emplace_back(event.normalized());
        made.timestamp = rebased(event.timestamp);
    }
    return EventTimeline(placed(timeline.mouseEvents()), std::move(keys), placed(timeline.cursorStates()));
}

bool CaptureCoordinator::movePhase(Phase from, Phase to) {
    return state_.with([&](State& state) {
        const bool moves = state.phase == from;
        state.phase = moves ? to : state.phase;
        return moves;
    });
}

void CaptureCoordinator::endSession() {
    state_.with([](State& state) { state = State{}; });
}

void CaptureCoordinator::startCaptureWithTimeout(const CaptureOptions& options, const std::stop_token& stop) {
    const auto started =
        raceAgainstTimer(nanoseconds(startTimeoutSeconds_), stop,
                         [capture = screenCapture_, options](const std::stop_token& cancelled) {
                             capture->start(options, cancelled);
                         });
    if (!started) {
        throw CaptureCoordinatorError::startTimedOut(startTimeoutSeconds_);
    }
}

ScreenCaptureResult CaptureCoordinator::stopCaptureWithTimeout(const std::stop_token& stop) {
    std::optional<ScreenCaptureResult> result = raceAgainstTimer(
        nanoseconds(stopTimeoutSeconds_), stop,
        [capture = screenCapture_](const std::stop_token& cancelled) { return capture->stop(cancelled); });
    if (!result) {
        throw CaptureCoordinatorError::stopTimedOut(stopTimeoutSeconds_);
    }
    return std::move(*result);
}

void CaptureCoordinator::cancelCaptureAfterFailure(double timeoutSeconds) {
    const double budget = std::clamp(timeoutSeconds * 0.25, 0.25, 2.0);
    try {
        static_cast<void>(raceAgainstTimer(nanoseconds(budget), {},
                                           [capture = screenCapture_](const std::stop_token& cancelled) {
                                               capture->cancelRecording(cancelled);
                                           }));
    } catch (...) {
        logRecoverableFailure("TavrinKit.CaptureCoordinator", "cancelCaptureAfterFailure",
                              std::current_exception(), {{"timeoutSeconds", fmt::format("{}", budget)}});
    }
}

} // namespace tavrin
