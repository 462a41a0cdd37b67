#include "Examples/Walkthrough/ScreenTake.h"

#include <variant>

#include <fmt/format.h>

#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Capture/DesktopStreamCapture.h"
#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Export/OneClickExporter.h"
#include "TavrinKit/Media/MovieReader.h"
#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Platform/X11/X11LiveCursorStateMonitor.h"
#include "TavrinKit/Platform/X11/X11LiveInputEventMonitor.h"
#include "TavrinKit/Readiness/SystemCapabilityService.h"
#include "TavrinKit/Session/PrimaryFlowController.h"
#include "TavrinKit/Session/SessionProjectLocator.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::demo {

namespace {

/// Where the main display lies in the space of the events: y upward, its own bottom left at the origin.
CaptureCoordinateMappingContext mappingContext(const ShareableContent& content,
                                               const ShareableDisplay& display) {
    const double top = content.mainDisplayHeight - display.frame.minY();
    return {Rect{display.frame.minX(), top - display.frame.height, display.frame.width, display.frame.height},
            content.mainDisplayHeight};
}

} // namespace

/// Everything that lives only while a take is recorded.
class ScreenTake::Recorder {
public:
    explicit Recorder(const std::string& display)
        : backend_(std::make_shared<X11CaptureBackend>(display)), inputMonitor_({.displayName = display}),
          cursorMonitor_({.displayName = display}) {
        const ShareableContent content = backend_->shareableContent(true, true);
        if (content.displays.empty()) {
            throw Error("There is no display to record.");
        }
        options_.target = RecordingTarget::display("main");
        options_.mappingContext = mappingContext(content, content.displays.front());
    }

    ~Recorder() {
        stopMonitors();
        if (recording_) {
            capture_->cancelRecording({});
        }
        std::error_code ignored;
        std::filesystem::remove(temporaryDirectory_, ignored); // only when nothing is left in it
    }

    void start(const std::filesystem::path& packagePath, bool excludeCursor, const std::stop_token& stop) {
        temporaryDirectory_ =
            packagePath.parent_path() / fmt::format(".{}.recording", packagePath.filename().string());
        createDirectories(temporaryDirectory_);
        DesktopStreamCapture::Services services;
        services.backend = backend_;
        capture_ = std::make_shared<DesktopStreamCapture>(services, temporaryDirectory_);
        coordinator_ = std::make_shared<CaptureCoordinator>(capture_, std::make_shared<InputEventRecorder>());
        flow_ = std::make_unique<PrimaryFlowController>(coordinator_);
        options_.excludeCursorFromSource = excludeCursor;

        flow_->newRecording(packagePath, options_, stop);
        recording_ = true;
        inputMonitor_.start([this](const LiveInputEventSample& sample) { take(sample); });
        cursorMonitor_.start([this](const LiveCursorStateSample& sample) { take(sample); });
    }

    [[nodiscard]] EditorSession finish(const std::stop_token& stop) {
        stopMonitors();
        recording_ = false;
        EditorSession session = flow_->stopAndOpenEditor(stop);
        // The movie lies in the package now. Had anything failed, it would stay here to be rescued.
        std::error_code ignored;
        std::filesystem::remove_all(temporaryDirectory_, ignored);
        return session;
    }

    [[nodiscard]] std::int64_t droppedFrames() const { return capture_->statistics().droppedFrames; }

private:
    void stopMonitors() {
        inputMonitor_.stop();
        cursorMonitor_.stop();
    }

    void take(const LiveInputEventSample& sample) {
        const auto& [time, location, kind] = sample;
        if (std::holds_alternative<LiveInputEventKind::Moved>(kind.value)) {
            coordinator_->recordMouseMove(time, location.x, location.y);
        } else if (std::holds_alternative<LiveInputEventKind::Dragged>(kind.value)) {
            coordinator_->recordMouseDrag(time, location.x, location.y);
        } else if (const auto* click = std::get_if<LiveInputEventKind::Clicked>(&kind.value)) {
            coordinator_->recordMouseClick(time, location.x, location.y, click->button);
        } else if (const auto* key = std::get_if<LiveInputEventKind::KeyPressed>(&kind.value)) {
            coordinator_->recordKeyPress(time, key->text, key->modifiers, key->contentKind, key->isRepeat);
        }
    }

    void take(const LiveCursorStateSample& sample) {
        coordinator_->recordCursorState(sample.timestamp, sample.location.x, sample.location.y,
                                        sample.visible, sample.appearance);
    }

    const std::shared_ptr<X11CaptureBackend> backend_;
    CaptureOptions options_;
    std::filesystem::path temporaryDirectory_;
    std::shared_ptr<DesktopStreamCapture> capture_;
    std::shared_ptr<CaptureCoordinator> coordinator_;
    std::unique_ptr<PrimaryFlowController> flow_;
    bool recording_ = false;
    // Last, so that they go first: their threads call the coordinator.
    X11LiveInputEventMonitor inputMonitor_;
    X11LiveCursorStateMonitor cursorMonitor_;
};

ScreenTake::ScreenTake(Settings settings)
    : settings_(std::move(settings)), recorder_(std::make_unique<Recorder>(settings_.display)) {}

ScreenTake::~ScreenTake() = default;

void ScreenTake::start(const std::stop_token& stop) {
    SessionProjectLocator::ensureRootDirectoryExists(settings_.outputDirectory);
    packagePath_ = SessionProjectLocator::makeSessionProjectURL(settings_.outputDirectory, currentDate());
    recorder_->start(packagePath_, settings_.excludeCursor, stop);
}

void ScreenTake::finish(const std::stop_token& stop) {
    session_ = recorder_->finish(stop);
    framesDropped_ = recorder_->droppedFrames();
    recorder_.reset();
}

std::filesystem::path ScreenTake::moviePath() const {
    std::filesystem::path path = packagePath_;
    path += ".mp4";
    return path;
}

TakeFacts ScreenTake::facts() const {
    const MediaInfo movie = probeMedia(session_->package().screenURL());
    const EventTimeline& events = session_->events();
    TakeFacts facts;
    facts.durationSeconds = movie.duration;
    facts.framesTaken = movie.video.empty() ? 0 : movie.video.front().frameCount;
    facts.framesDropped = framesDropped_;
    for (const MouseEvent& event : events.mouseEvents()) {
        switch (event.kind) {
        case MouseEventKind::moved:
            ++facts.moves;
            break;
        case MouseEventKind::clicked:
            ++facts.clicks;
            break;
        case MouseEventKind::dragged:
            ++facts.drags;
            break;
        }
    }
    facts.keys = events.keyEvents().size();
    facts.cursorStates = events.cursorStates().size();
    facts.zoomSegments = session_->edits().timeline.zoomTrack.segments.size();
    return facts;
}

ExportResult ScreenTake::exportMovie(const ExportPreset& preset, const ExportProgressHandler& onProgress,
                                     const std::stop_token& stop) const {
    return exportSession(*session_, preset, moviePath(), onProgress, stop);
}

ExportResult exportSession(const EditorSession& session, const ExportPreset& preset,
                           const std::filesystem::path& destination, const ExportProgressHandler& onProgress,
                           const std::stop_token& stop) {
    constexpr int retries = 2;
    const auto guard = std::make_shared<ExportReliabilityGuard>(
        std::make_shared<FFmpegMP4Exporter>(), retries, ExportReliabilityGuard::ffmpegDurationValidator);
    OneClickExporter exporter(guard, std::make_shared<FFmpegEffectBakingRenderer>(),
                              std::make_shared<SystemCapabilityService>(nullptr, nullptr));
    return exporter.exportMovie(
        session, destination, preset,
        [&](const ExportProgressUpdate& update) {
            if (onProgress) {
                onProgress(update.fractionCompleted);
            }
        },
        stop);
}

} // namespace tavrin::demo
