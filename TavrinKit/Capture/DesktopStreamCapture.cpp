#include "TavrinKit/Capture/DesktopStreamCapture.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <exception>
#include <iterator>
#include <thread>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <unistd.h>

#include "TavrinKit/Capture/CaptureSelection.h"
#include "TavrinKit/Capture/DesktopCaptureBridge.h"
#include "TavrinKit/Capture/GeometryTimelineRecorder.h"
#include "TavrinKit/Capture/StreamAssetWriterSink.h"
#include "TavrinKit/Capture/StreamOutputBridge.h"
#include "TavrinKit/Support/Cancellation.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/HostClock.h"
#include "TavrinKit/Support/Log.h"
#include "TavrinKit/Support/Race.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin {

using namespace std::chrono_literals;

/// One take. Filled by its start, then only read; what it points to has locks of its own.
struct DesktopStreamCapture::ActiveSession {
    std::shared_ptr<ScreenStream> stream;
    std::shared_ptr<CaptureStream> systemAudio; ///< null when it isn't recorded
    std::shared_ptr<StreamOutputBridge> outputBridge;
    std::shared_ptr<StreamAssetWriterSink> writer;
    std::filesystem::path outputURL;
    std::shared_ptr<MicrophoneCapturing> microphoneCapture;
    std::shared_ptr<CameraCapturing> cameraCapture;
    std::shared_ptr<GeometryTimelineRecorder> geometryRecorder; ///< null for a source that doesn't move
    double startedAt = 0; ///< host clock, after the first sample has arrived

    // Grows while the start and the stop run, by their thread.
    std::vector<std::string> warnings;

    [[nodiscard]] std::vector<std::shared_ptr<CaptureStream>> streams() const;
    [[nodiscard]] CaptureStatistics statistics() const;
    void abandon(const char* context) const noexcept;
    void cancelRecordings() const noexcept;
};

namespace {

void log(const char* context, const std::exception_ptr& error) {
    logRecoverableFailure("TavrinKit.DesktopStreamCapture", context, error);
}

/// Passes a stop request on.
struct ForwardStop {
    std::stop_source target;
    void operator()() { target.request_stop(); }
};

/// Takes the output off and stops the stream; one that hangs is left behind.
void shutDown(const std::shared_ptr<CaptureStream>& stream, const char* context) noexcept {
    try {
        const auto ended = raceAgainstTimer(1s, {}, [stream](const std::stop_token& stop) {
            stream->removeOutput();
            stream->stop(stop);
        });
        if (!ended) {
            throw Error("The stream did not stop in time.");
        }
    } catch (...) {
        log(context, std::current_exception());
    }
}

std::string warning(const char* name, const std::exception_ptr& error) {
    return fmt::format("{}:{}", name, sentenceOf(error));
}

} // namespace

/// Those that were made, the pictures first.
std::vector<std::shared_ptr<CaptureStream>> DesktopStreamCapture::ActiveSession::streams() const {
    std::vector<std::shared_ptr<CaptureStream>> made{stream, systemAudio};
    std::erase(made, nullptr);
    return made;
}

CaptureStatistics DesktopStreamCapture::ActiveSession::statistics() const {
    return {writer->receivedFrames(), writer->droppedFrames() + stream->droppedFrames()};
}

/// Ends whatever of the take there is. The files stay as they are.
void DesktopStreamCapture::ActiveSession::abandon(const char* context) const noexcept {
    for (const auto& each : streams()) {
        shutDown(each, context);
    }
    cancelRecordings();
}

void DesktopStreamCapture::ActiveSession::cancelRecordings() const noexcept {
    if (writer) {
        writer->cancel();
    }
    if (microphoneCapture) {
        microphoneCapture->cancel();
    }
    if (cameraCapture) {
        cameraCapture->cancel();
    }
}

DesktopStreamCapture::DesktopStreamCapture(Services services, std::filesystem::path outputDirectory,
                                           CaptureApplicationExclusionRule applicationExclusionRule)
    : services_([&] {
          if (!services.permissions) {
              services.permissions =
                  std::make_shared<SystemScreenCapturePermissionProvider>(services.backend);
          }
          return std::move(services);
      }()),
      outputDirectory_(std::move(outputDirectory)),
      applicationExclusionRule_(std::move(applicationExclusionRule)) {}

DesktopStreamCapture::~DesktopStreamCapture() {
    DesktopStreamCapture::cancelRecording({});
}

void DesktopStreamCapture::start(const CaptureOptions& options, std::stop_token stop) {
    std::promise<void> end;
    Starting starting{{}, end.get_future().share()};
    const std::stop_token cancelled = starting.stop.get_token();
    state_.with([&](State& state) {
        const bool isStarting = state.starting && !state.starting->stop.stop_requested();
        if (isStarting || state.active || state.stopping) {
            throw DesktopStreamCaptureError::alreadyRecording();
        }
        state.starting = starting;
    });
    const std::stop_callback forwarding(stop, ForwardStop{starting.stop});

    const auto session = std::make_shared<ActiveSession>();
    try {
        startSession(*session, options, cancelled);
        state_.with([&](State& state) {
            throwIfCancelled(cancelled);
            state.active = session;
            state.starting.reset();
        });
        end.set_value();
    } catch (...) {
        cleanUpFailedStart(session);
        state_.with([&](State& state) { // a later start may have taken the place already
            if (state.starting && state.starting->stop == starting.stop) {
                state.starting.reset();
            }
        });
        end.set_value();
        throw;
    }
}

void DesktopStreamCapture::startSession(ActiveSession& session, const CaptureOptions& options,
                                        const std::stop_token& stop) {
    refuseUnsupported(options);
    obtainScreenPermission(stop);
    startMicrophone(session, options, stop);
    startCamera(session, options, stop);
    const CaptureSelection selection = select(options, stop);
    prepareOutput(session);
    makeStreams(session, selection, options);
    startStreams(session, stop);
    session.startedAt = HostClock::now();
    const double timeZero = session.writer->firstSampleTime().value_or(session.startedAt);
    if (session.microphoneCapture) {
        session.microphoneCapture->setTimeZero(timeZero);
    }
    if (session.cameraCapture) {
        session.cameraCapture->setTimeZero(timeZero);
    }
}

void DesktopStreamCapture::refuseUnsupported(const CaptureOptions& options) const {
    if (options.audio.includeSystemAudio && !services_.systemAudioStreamFactory) {
        throw DesktopStreamCaptureError::systemAudioNotSupported();
    }
}

void DesktopStreamCapture::obtainScreenPermission(const std::stop_token& stop) const {
    throwIfCancelled(stop);
    if (!services_.permissions->requestAccessIfNeeded(stop)) {
        throw DesktopStreamCaptureError::permissionDenied();
    }
}

void DesktopStreamCapture::startMicrophone(ActiveSession& session, const CaptureOptions& options,
                                           const std::stop_token& stop) const {
    if (!options.audio.includeMicrophone) {
        return;
    }
    if (services_.microphonePermissions && !services_.microphonePermissions->requestAccessIfNeeded(stop)) {
        throw DesktopStreamCaptureError::microphonePermissionDenied();
    }
    try {
        if (!services_.microphoneCaptureFactory) {
            throw MicrophoneCaptureError::unableToStartRecording();
        }
        createDirectories(outputDirectory_);
        session.microphoneCapture = services_.microphoneCaptureFactory(temporaryFile("mic-capture", ".m4a"));
        session.microphoneCapture->start(stop);
    } catch (const CancellationError&) {
        throw;
    } catch (...) {
        throw DesktopStreamCaptureError::microphoneStartFailed(std::current_exception());
    }
}

void DesktopStreamCapture::startCamera(ActiveSession& session, const CaptureOptions& options,
                                       const std::stop_token& stop) const {
    if (!options.camera.includeCamera) {
        return;
    }
    const bool mayGoWithout = options.camera.allowFailureFallbackToScreenOnly;
    if (services_.cameraPermissions && !services_.cameraPermissions->requestAccessIfNeeded(stop)) {
        if (!mayGoWithout) {
            throw DesktopStreamCaptureError::cameraPermissionDenied();
        }
        session.warnings.emplace_back("camera_permission_denied");
        return;
    }
    try {
        if (!services_.cameraCaptureFactory) {
            throw CameraCaptureError::deviceUnavailable();
        }
        createDirectories(outputDirectory_);
        session.cameraCapture = services_.cameraCaptureFactory(temporaryFile("camera-capture", ".mov"));
        session.cameraCapture->start(options.camera, stop);
    } catch (const CancellationError&) {
        throw;
    } catch (...) {
        if (!mayGoWithout) {
            throw DesktopStreamCaptureError::cameraStartFailed(std::current_exception());
        }
        session.warnings.push_back(warning("camera_unavailable", std::current_exception()));
        if (session.cameraCapture) {
            session.cameraCapture->cancel();
            session.cameraCapture.reset();
        }
    }
}

CaptureSelection DesktopStreamCapture::select(const CaptureOptions& options,
                                              const std::stop_token& stop) const {
    const ShareableContent content = DesktopCaptureBridge(services_.backend).shareableContent({}, stop);
    return captureSelection(options, applicationExclusionRule_, content);
}

/// Finds out before the take, and not at its end, that there is no place to write to.
void DesktopStreamCapture::prepareOutput(ActiveSession& session) const {
    createDirectories(outputDirectory_);
    if (access(outputDirectory_.c_str(), W_OK | X_OK) != 0) {
        throw FileError("write", outputDirectory_, errno);
    }
    session.outputURL = temporaryFile("screen-capture", ".mov");
    removeFile(session.outputURL);
}

void DesktopStreamCapture::makeStreams(ActiveSession& session, const CaptureSelection& selection,
                                       const CaptureOptions& options) const {
    try {
        session.writer = std::make_shared<StreamAssetWriterSink>(
            session.outputURL, selection.width, selection.height, options.audio.includeSystemAudio);
    } catch (...) {
        throw DesktopStreamCaptureError::writerFailed(std::current_exception());
    }
    if (options.target.isWindow()) {
        session.geometryRecorder = std::make_shared<GeometryTimelineRecorder>(
            Size2D{double(selection.width), double(selection.height)});
    }
    session.outputBridge = std::make_shared<StreamOutputBridge>(session.writer, session.geometryRecorder);
    const StreamConfiguration configuration = streamConfiguration(selection, options);
    try {
        session.stream = services_.backend->makeStream(selection.filter, configuration, session.outputBridge);
        if (configuration.capturesAudio) {
            session.systemAudio = services_.systemAudioStreamFactory(configuration, session.outputBridge);
        }
    } catch (const CancellationError&) {
        throw;
    } catch (...) { // the source may have gone since it was selected
        throw DesktopStreamCaptureError::captureStartFailed(std::current_exception());
    }
}

/// Sound follows the first picture.
void DesktopStreamCapture::startStreams(ActiveSession& session, const std::stop_token& stop) {
    try {
        awaitStreamStart(session, stop);
        if (session.systemAudio) {
            session.systemAudio->start(stop);
        }
    } catch (const CancellationError&) {
        throw;
    } catch (...) {
        throw DesktopStreamCaptureError::captureStartFailed(std::current_exception());
    }
}

/// Started is a stream whose start has returned and that has delivered a sample; a failure of either ends
/// the wait for the other.
void DesktopStreamCapture::awaitStreamStart(ActiveSession& session, const std::stop_token& stop) {
    FirstScreenSampleSignal& signal = session.outputBridge->firstScreenSampleSignal();
    std::exception_ptr startError;
    std::jthread starter([&](const std::stop_token& cancelled) {
        try {
            session.stream->start(cancelled);
        } catch (...) {
            startError = std::current_exception();
            signal.resolve(startError);
        }
    });
    const std::stop_callback forwarding(stop, ForwardStop{starter.get_stop_source()});
    signal.wait(stop);
    starter.join();
    if (startError) {
        std::rethrow_exception(startError);
    }
}

void DesktopStreamCapture::cleanUpFailedStart(const Session& session) const {
    session->abandon("cleanupFailedStart.stopCapture");
    if (!session->outputURL.empty()) {
        try {
            removeFile(session->outputURL);
        } catch (...) {
            log("cleanupFailedStart.removeOutput", std::current_exception());
        }
    }
}

ScreenCaptureResult DesktopStreamCapture::stop(std::stop_token stop) {
    const Session session = state_.with([](State& state) {
        if (!state.active) {
            throw DesktopStreamCaptureError::notRecording();
        }
        state.stopping = std::move(state.active);
        return state.stopping;
    });
    stopStreams(session, stop);
    const double endTime = HostClock::now();
    if (session->cameraCapture) {
        session->cameraCapture->setEnd(endTime);
    }
    const auto microphone = stopMicrophone(session, stop);
    const auto camera = stopCamera(session, stop);
    finishWriter(session, endTime);

    ScreenCaptureResult taken = result(session, endTime);
    if (microphone) {
        taken.optionalAudio[AudioTrackDescriptor::Kind::microphone] = *microphone;
    }
    taken.cameraTrack = camera;
    endStopping(session);
    return taken;
}

void DesktopStreamCapture::stopStreams(const Session& session, const std::stop_token& stop) {
    std::exception_ptr failure;
    for (const auto& stream : session->streams()) {
        try {
            stream->stop(stop);
        } catch (...) { // the first one is told
            failure = failure ? failure : std::current_exception();
        }
    }
    if (failure && !session->outputBridge->stopError()) {
        session->abandon("stop.detachStreamOutputs");
        throwIfTakenAway(session);
        endStopping(session);
        throwIfCancelled(stop);
        throw DesktopStreamCaptureError::captureStopFailed(failure);
    }
    if (failure) {
        log("stop.stopCapture", failure);
    }
    for (const auto& stream : session->streams()) {
        stream->removeOutput();
    }
    throwIfTakenAway(session);
}

std::optional<std::filesystem::path> DesktopStreamCapture::stopMicrophone(const Session& session,
                                                                          const std::stop_token& stop) {
    if (!session->microphoneCapture) {
        return std::nullopt;
    }
    try {
        return session->microphoneCapture->stop(stop);
    } catch (...) {
        session->writer->cancel();
        if (session->cameraCapture) {
            session->cameraCapture->cancel();
        }
        throwIfTakenAway(session);
        endStopping(session);
        throwIfCancelled(stop);
        throw DesktopStreamCaptureError::microphoneStopFailed(std::current_exception());
    }
}

std::optional<CameraCaptureTrackResult> DesktopStreamCapture::stopCamera(const Session& session,
                                                                         const std::stop_token& stop) {
    if (!session->cameraCapture) {
        return std::nullopt;
    }
    try {
        return session->cameraCapture->stop(stop);
    } catch (const CancellationError&) {
        session->cancelRecordings();
        endStopping(session);
        throw;
    } catch (...) {
        session->warnings.push_back(warning("camera_stop_failed", std::current_exception()));
        return std::nullopt;
    }
}

void DesktopStreamCapture::finishWriter(const Session& session, double endTime) {
    throwIfTakenAway(session);
    try {
        if (session->writer->prepareForFinish()) {
            session->writer->finish(endTime);
        }
    } catch (...) {
        throwIfTakenAway(session);
        endStopping(session);
        throw DesktopStreamCaptureError::writerFailed(std::current_exception());
    }
    throwIfTakenAway(session);
}

ScreenCaptureResult DesktopStreamCapture::result(const Session& session, double endTime) {
    ScreenCaptureResult taken;
    taken.screenSourceURL = session->outputURL;
    taken.startedAt = session->writer->sessionStart().value_or(session->startedAt);
    taken.endedAt = std::max(taken.startedAt, endTime);
    taken.warnings = session->warnings;
    const auto append = [&](std::vector<std::string> more) {
        taken.warnings.insert(taken.warnings.end(), std::make_move_iterator(more.begin()),
                              std::make_move_iterator(more.end()));
    };
    append(session->outputBridge->warnings());
    if (session->microphoneCapture) {
        append(session->microphoneCapture->warnings());
    }
    if (session->cameraCapture) {
        append(session->cameraCapture->warnings());
    }
    if (const std::exception_ptr error = session->outputBridge->stopError()) {
        taken.warnings.push_back(warning("screen_stream_stopped", error));
    }
    if (const std::int64_t dropped = session->statistics().droppedFrames; dropped > 0) {
        taken.warnings.push_back(fmt::format("frames_dropped:{}", dropped));
    }
    if (session->geometryRecorder) {
        taken.geometrySamples = session->geometryRecorder->samples();
    }
    return taken;
}

void DesktopStreamCapture::cancelRecording(std::stop_token stop) {
    const auto [starting, session] = state_.with([](State& state) {
        Session taken = state.active ? std::move(state.active) : std::move(state.stopping);
        state.active.reset();
        state.stopping.reset();
        return std::pair(state.starting, std::move(taken));
    });
    if (starting) { // it cleans up by itself
        std::stop_source(starting->stop).request_stop();
        static_cast<void>(starting->ended.wait_for(stop.stop_requested() ? 0s : 2s));
    }
    if (session) {
        session->abandon("cancelRecording.stopCapture");
        endStopping(session);
    }
}

CaptureStatistics DesktopStreamCapture::statistics() const {
    const auto [session, last] = state_.with([](const State& state) {
        return std::pair(state.active ? state.active : state.stopping, state.lastStatistics);
    });
    return session ? session->statistics() : last;
}

void DesktopStreamCapture::endStopping(const Session& session) {
    const CaptureStatistics statistics = session->statistics();
    state_.with([&](State& state) {
        state.lastStatistics = statistics;
        if (state.stopping == session) {
            state.stopping.reset();
        }
    });
}

/// A stop whose take was cancelled meanwhile has nothing more to say.
void DesktopStreamCapture::throwIfTakenAway(const Session& session) const {
    if (!state_.with([&](const State& state) { return state.stopping == session; })) {
        throw CancellationError();
    }
}

std::filesystem::path DesktopStreamCapture::temporaryFile(const char* name, const char* extension) const {
    return outputDirectory_ / fmt::format("{}-{}{}", name, UUID::make().string(), extension);
}

} // namespace tavrin
