#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <stop_token>
#include <string_view>
#include <vector>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Capture/InputEventRecorder.h"
#include "TavrinKit/Capture/ScreenStreamCapture.h"
#include "TavrinKit/Project/EditsDocument.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Support/Error.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

enum class CaptureCoordinatorErrorKind { startTimedOut, stopTimedOut, noActiveSession, alreadyRecording };

class CaptureCoordinatorError : public ErrorFamily<CaptureCoordinatorErrorKind> {
public:
    [[nodiscard]] static CaptureCoordinatorError startTimedOut(double timeoutSeconds);
    [[nodiscard]] static CaptureCoordinatorError stopTimedOut(double timeoutSeconds);
    [[nodiscard]] static CaptureCoordinatorError noActiveSession();
    [[nodiscard]] static CaptureCoordinatorError alreadyRecording();

    /// Seconds; 0 for the cases without a timeout.
    [[nodiscard]] double timeoutSeconds() const { return timeoutSeconds_; }

private:
    CaptureCoordinatorError(CaptureCoordinatorErrorKind kind, const std::string& sentence,
                            double timeoutSeconds = 0)
        : ErrorFamily(kind, sentence), timeoutSeconds_(timeoutSeconds) {}

    double timeoutSeconds_;
};

/// Runs one recording from its start to a finished project package on disk.
///
/// It drives a screen capture, gathers the input events meanwhile and, at the stop, assembles the package:
/// media under their fixed names, manifest, events in the picture's coordinates and on the movie's clock,
/// edits. Start and stop of the capture are raced against a timeout, so that a capture that hangs costs the
/// take and never the program; whatever a stop ends with, the next start is possible.
///
/// All operations may be called from any thread. `startRecording` and `stopRecording` block; a second one
/// that arrives meanwhile is refused as if the first had ended well. The `record…` operations never wait.
class CaptureCoordinator {
public:
    /// @param stopTimeoutSeconds   at least 0.1
    /// @param startTimeoutSeconds  at least 0.1
    CaptureCoordinator(std::shared_ptr<ScreenStreamCapture> screenCapture,
                       std::shared_ptr<InputEventRecorder> inputRecorder, double stopTimeoutSeconds = 12.0,
                       double startTimeoutSeconds = 12.0);

    /// Starts the capture, then the taking down of events. On failure the capture is cancelled.
    /// @param projectURL  the package folder that the stop will fill; nothing is written before
    /// @throws CaptureCoordinatorError, Error of the capture, CancellationError
    void startRecording(const std::filesystem::path& projectURL, const CaptureOptions& options,
                        const std::stop_token& stop = {});

    /// Stops the capture and writes the package. After any outcome there is no session. A failure while the
    /// package is written leaves what was already placed in its folder.
    /// @param initialEdits  what the project opens with; with a camera its picture-in-picture is switched on
    /// @throws CaptureCoordinatorError, Error of the capture, FileError, ProjectPackageValidationError,
    ///         CancellationError
    [[nodiscard]] ProjectPackage stopRecording(const EditsDocument& initialEdits,
                                               const std::stop_token& stop = {});

    /// The session, from a successful start until the stop has ended.
    [[nodiscard]] std::optional<RecordingSessionState> activeSession() const;

    // Events of the take: times of the host clock, positions in global points, y upward. Dropped when no
    // take is being recorded.
    void recordMouseMove(double time, double x, double y);
    void recordMouseClick(double time, double x, double y, int button);
    void recordMouseDrag(double time, double x, double y);
    void recordKeyPress(double time, std::string_view text, const std::vector<KeyModifier>& modifiers,
                        KeyEventContentKind contentKind, bool isRepeat);
    void recordCursorState(double time, double x, double y, bool visible, const CursorAppearance& appearance);

    /// Brings recorded events onto the movie's clock (0...duration) and into the picture's coordinates
    /// (0...1, origin at the bottom left). Events that lie clearly outside the source are dropped.
    [[nodiscard]] static EventTimeline normalizedTimeline(const EventTimeline& timeline,
                                                          const ScreenCaptureResult& captureResult,
                                                          const CaptureOptions& options);

private:
    enum class Phase { idle, starting, recording, stopping };
    struct State {
        Phase phase = Phase::idle;
        std::optional<RecordingSessionState> session;
    };

    [[nodiscard]] bool movePhase(Phase from, Phase to);
    void endSession();
    void startCaptureWithTimeout(const CaptureOptions& options, const std::stop_token& stop);
    [[nodiscard]] ScreenCaptureResult stopCaptureWithTimeout(const std::stop_token& stop);
    void cancelCaptureAfterFailure(double timeoutSeconds);

    const std::shared_ptr<ScreenStreamCapture> screenCapture_;
    const std::shared_ptr<InputEventRecorder> inputRecorder_;
    const double stopTimeoutSeconds_;
    const double startTimeoutSeconds_;
    Guarded<State> state_;
};

} // namespace tavrin
