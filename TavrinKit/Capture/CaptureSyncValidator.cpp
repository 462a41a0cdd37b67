#include "TavrinKit/Capture/CaptureSyncValidator.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <string>
#include <utility>

#include <fmt/format.h>

namespace tavrin {
namespace {

/// Seconds; a take isn't shorter.
constexpr double longestInvalidDuration = 0.05;

bool isValidDuration(double duration) {
    return std::isfinite(duration) && duration > longestInvalidDuration;
}

} // namespace

/// One validation under way.
class CaptureSyncValidator::Examination {
public:
    Examination(const CaptureSyncValidator& validator, const ProjectPackage& package,
                const CaptureOptions& options)
        : probe_(*validator.probe_), settings_(validator.settings_), package_(package),
          manifest_(package.manifest()), audio_(options.audio) {
        report_.mode = captureSyncMode(audio_);
    }

    CaptureSyncValidationReport run() {
        if (checkIntegrity()) {
            checkScreen();
            checkSystemAudio();
            checkMicrophoneInManifest();
            checkMicrophoneMedia();
            checkCamera();
        }
        return std::move(report_);
    }

private:
    void error(std::string message) {
        report_.issues.push_back({CaptureSyncIssueSeverity::error, std::move(message)});
    }

    void warning(std::string message) {
        report_.issues.push_back({CaptureSyncIssueSeverity::warning, std::move(message)});
    }

    bool checkIntegrity() {
        try {
            package_.validateIntegrity();
            return true;
        } catch (...) {
            error("Package integrity validation failed: " + sentenceOf(std::current_exception()));
            return false;
        }
    }

    /// @return nothing when it failed, which is an issue then
    std::optional<CaptureMediaInfo> inspect(const char* what, const std::filesystem::path& path) {
        try {
            return probe_.mediaInfo(path);
        } catch (...) {
            error(fmt::format("Unable to inspect {} media: {}", what, sentenceOf(std::current_exception())));
            return std::nullopt;
        }
    }

    void checkScreen() {
        const auto media = inspect("screen", package_.screenURL());
        if (!media) {
            return;
        }
        screenHasAudio_ = media->hasAudioTrack;
        screenDuration_ = media->duration;
        report_.screenDuration = std::max(0.0, media->duration);
        if (!isValidDuration(media->duration)) {
            error(fmt::format("Screen media duration is invalid ({:.2f}s).", media->duration));
        }
        if (!media->hasVideoTrack) {
            error("Screen media has no video track.");
        }
    }

    [[nodiscard]] const AudioTrackDescriptor* soundTrack(AudioTrackDescriptor::Kind kind) const {
        const auto track = std::find_if(manifest_.audioTracks.begin(), manifest_.audioTracks.end(),
                                        [&](const auto& candidate) { return candidate.kind == kind; });
        return track == manifest_.audioTracks.end() ? nullptr : &*track;
    }

    void checkSystemAudio() {
        const bool isInManifest = soundTrack(AudioTrackDescriptor::Kind::system) != nullptr;
        if (audio_.includeSystemAudio) {
            if (!screenHasAudio_ && !isInManifest) {
                error("System-audio mode expected an audio track, but none was found.");
            }
            return;
        }
        if (screenHasAudio_) {
            error("Screen media contains audio even though system audio capture was disabled.");
        }
        if (isInManifest) {
            error("System audio track persisted even though system audio capture was disabled.");
        }
    }

    void checkMicrophoneInManifest() {
        const bool isInManifest = soundTrack(AudioTrackDescriptor::Kind::microphone) != nullptr;
        if (audio_.includeMicrophone && !isInManifest) {
            error("Microphone mode expected a microphone track in manifest.");
        }
        if (!audio_.includeMicrophone && isInManifest) {
            error("Microphone track persisted even though microphone capture was disabled.");
        }
    }

    void checkMicrophoneMedia() {
        const AudioTrackDescriptor* track = soundTrack(AudioTrackDescriptor::Kind::microphone);
        const auto media = track != nullptr ? inspect("microphone", package_.audioURL(*track)) : std::nullopt;
        if (!media) {
            return;
        }
        report_.microphoneDuration = std::max(0.0, media->duration);
        if (!isValidDuration(media->duration)) {
            error(fmt::format("Microphone track duration is invalid ({:.2f}s).", media->duration));
        }
        if (!media->hasAudioTrack) {
            error("Microphone media has no audio track.");
        }
        if (const auto drift = trackDrift(media->duration)) {
            error(fmt::format("Microphone/screen duration drift is {:.2f}s (limit {:.2f}s).", *drift,
                              settings_.maxTrackDriftSeconds));
        }
    }

    void checkCamera() {
        if (manifest_.cameraTracks.empty()) {
            return;
        }
        const CameraTrackDescriptor& track = manifest_.cameraTracks.front();
        const auto media = inspect("camera", package_.cameraURL(track));
        if (media) {
            report_.cameraDuration = std::max(0.0, media->duration);
            if (!media->hasVideoTrack) {
                error("Camera track has no video stream.");
            }
            if (const auto drift = trackDrift(media->duration)) {
                warning(fmt::format("Camera/screen duration drift is {:.2f}s (limit {:.2f}s).", *drift,
                                    settings_.maxTrackDriftSeconds));
            }
        }
        const double drift = std::abs(track.driftMillisecondsPerHour);
        const double limit = settings_.maxCameraDriftMillisecondsPerHour;
        if (drift > limit) {
            warning(fmt::format("Camera drift exceeds target ({:.0f} ms/h > {:.0f} ms/h).", std::round(drift),
                                std::round(limit)));
        }
    }

    /// What a side track is longer or shorter than the screen, when that is too much.
    [[nodiscard]] std::optional<double> trackDrift(double duration) const {
        const double drift = std::abs(duration - screenDuration_);
        return drift > settings_.maxTrackDriftSeconds ? std::optional(drift) : std::nullopt;
    }

    CaptureMediaProbing& probe_;
    const Settings& settings_;
    const ProjectPackage& package_;
    const ProjectManifest& manifest_;
    const AudioCaptureOptions& audio_;
    bool screenHasAudio_ = false;
    double screenDuration_ = 0; ///< as it was found
    CaptureSyncValidationReport report_;
};

CaptureSyncValidator::CaptureSyncValidator(std::shared_ptr<CaptureMediaProbing> probe)
    : CaptureSyncValidator(std::move(probe), Settings{}) {}

CaptureSyncValidator::CaptureSyncValidator(std::shared_ptr<CaptureMediaProbing> probe, Settings settings)
    : probe_(probe ? std::move(probe) : std::make_shared<FFmpegCaptureMediaProbe>()),
      settings_{std::max(0.1, settings.maxTrackDriftSeconds),
                std::max(1.0, settings.maxCameraDriftMillisecondsPerHour)} {}

CaptureSyncValidationReport CaptureSyncValidator::validate(const ProjectPackage& package,
                                                           const CaptureOptions& options) const {
    return Examination(*this, package, options).run();
}

} // namespace tavrin
