#include "Examples/Walkthrough/ScreenTake.h"

#include <variant>

#include <fmt/format.h>

#include "TavrinKit/Capture/CaptureCoordinator.h"
#include "TavrinKit/Capture/CaptureSyncValidator.h"
#include "TavrinKit/Capture/DesktopStreamCapture.h"
#include "TavrinKit/Compositing/FFmpegEffectBakingRenderer.h"
#include "TavrinKit/Export/FFmpegMP4Exporter.h"
#include "TavrinKit/Export/OneClickExporter.h"
#include "TavrinKit/Media/MediaInfo.h"
#include "TavrinKit/Readiness/SystemCapabilityService.h"
#include "TavrinKit/Session/PrimaryFlowController.h"
#include "TavrinKit/Session/SessionProjectLocator.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::demo {

namespace {

/// Lets a capture pass through and keeps what its takes were warned of.
class WarningKeeper : public ScreenStreamCapture {
public:
    explicit WarningKeeper(std::shared_ptr<DesktopStreamCapture> capture) : capture_(std::move(capture)) {}

    void start(const CaptureOptions& options, std::stop_token stop) override {
        capture_->start(options, std::move(stop));
    }
    [[nodiscard]] ScreenCaptureResult stop(std::stop_token stop) override {
        ScreenCaptureResult result = capture_->stop(std::move(stop));
        warnings_.with([&](std::vector<std::string>& warnings) { warnings = result.warnings; });
        return result;
    }
    void cancelRecording(std::stop_token stop) override { capture_->cancelRecording(std::move(stop)); }

    [[nodiscard]] std::vector<std::string> warnings() const { return warnings_.copy(); }
    [[nodiscard]] CaptureStatistics statistics() const { return capture_->statistics(); }

private:
    const std::shared_ptr<DesktopStreamCapture> capture_;
    Guarded<std::vector<std::string>> warnings_;
};

DesktopPlatform platformFor(const ScreenTake::Settings& settings) {
    DesktopPlatformSettings wanted;
    if (!settings.display.empty()) {
        wanted.kind = DesktopPlatform::Kind::x11;
        wanted.display = settings.display;
    }
    wanted.syntheticCameraID = settings.syntheticCameraID;
    return loadDesktopPlatform(wanted);
}

} // namespace

/// Everything that lives only while a take is recorded.
class ScreenTake::Recorder {
public:
    explicit Recorder(const Settings& settings)
        : platform_(platformFor(settings)), inputMonitor_(platform_.makeInputMonitor()),
          cursorMonitor_(platform_.makeCursorMonitor()) {
        if (platform_.backend->shareableContent(true, true).displays.empty()) {
            throw Error("There is no display to record.");
        }
    }

    ~Recorder() {
        stopMonitors();
        if (recording_) {
            capture_->cancelRecording({});
        }
        std::error_code ignored;
        std::filesystem::remove(temporaryDirectory_, ignored); // only when nothing is left in it
    }

    void start(const std::filesystem::path& packagePath, const Settings& settings,
               const std::stop_token& stop) {
        options_ = optionsFor(settings, stop);
        temporaryDirectory_ =
            packagePath.parent_path() / fmt::format(".{}.recording", packagePath.filename().string());
        createDirectories(temporaryDirectory_);
        capture_ = std::make_shared<WarningKeeper>(std::make_shared<DesktopStreamCapture>(
            platform_.captureServices(), temporaryDirectory_, CaptureApplicationExclusionRule{}));
        coordinator_ = std::make_shared<CaptureCoordinator>(capture_, std::make_shared<InputEventRecorder>());
        flow_ = std::make_unique<PrimaryFlowController>(coordinator_);

        flow_->newRecording(packagePath, options_, stop);
        recording_ = true;
        inputMonitor_->start([this](const LiveInputEventSample& sample) { take(sample); });
        cursorMonitor_->start([this](const LiveCursorStateSample& sample) { take(sample); });
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
    [[nodiscard]] std::vector<std::string> warnings() const { return capture_->warnings(); }
    [[nodiscard]] const CaptureOptions& options() const { return options_; }

private:
    /// This program's only window is the demonstration's, which is to be seen: nothing is excluded.
    [[nodiscard]] CaptureOptions optionsFor(const Settings& settings, const std::stop_token& stop) const {
        const ChosenSource source = chooseSource(platform_.backend, settings.source, stop);
        CaptureOptions options;
        options.target = source.target;
        options.mappingContext = source.mappingContext;
        options.excludeCursorFromSource = settings.excludeCursor;
        options.audio = settings.audio;
        options.camera = settings.camera;
        options.applicationExclusionRule = {};
        return options;
    }

    void stopMonitors() {
        inputMonitor_->stop();
        cursorMonitor_->stop();
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

    const DesktopPlatform platform_;
    CaptureOptions options_;
    std::filesystem::path temporaryDirectory_;
    std::shared_ptr<WarningKeeper> capture_;
    std::shared_ptr<CaptureCoordinator> coordinator_;
    std::unique_ptr<PrimaryFlowController> flow_;
    bool recording_ = false;
    // Last, so that they go first: their threads call the coordinator.
    std::unique_ptr<LiveInputEventMonitoring> inputMonitor_;
    std::unique_ptr<LiveCursorStateMonitoring> cursorMonitor_;
};

ScreenTake::ScreenTake(Settings settings)
    : settings_(std::move(settings)), recorder_(std::make_unique<Recorder>(settings_)) {}

ScreenTake::~ScreenTake() = default;

void ScreenTake::start(const std::stop_token& stop) {
    SessionProjectLocator::ensureRootDirectoryExists(settings_.outputDirectory);
    packagePath_ = SessionProjectLocator::makeSessionProjectURL(settings_.outputDirectory, currentDate());
    recorder_->start(packagePath_, settings_, stop);
}

void ScreenTake::finish(const std::stop_token& stop) {
    session_ = recorder_->finish(stop);
    framesDropped_ = recorder_->droppedFrames();
    warnings_ = recorder_->warnings();
    options_ = recorder_->options();
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
    const CaptureSyncValidationReport report = CaptureSyncValidator().validate(session_->package(), options_);
    facts.validation = report.summary();
    facts.passesValidation = report.passes();
    facts.warnings = warnings_;
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
