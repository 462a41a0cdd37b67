#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

#include "TavrinKit/Project/ProjectManifest.h"
#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// What is recorded: a whole display, one window, or an area of a display.
///
/// In JSON an object with one key, the name of the case.
struct RecordingTarget {
    struct Display {
        std::string
            displayID; ///< the number in decimal, or "main" for the first display of the server's list

        friend bool operator==(const Display&, const Display&) = default;
    };
    struct Window {
        std::string windowID; ///< the number in decimal

        friend bool operator==(const Window&, const Window&) = default;
    };
    struct Area {
        std::string displayID;
        Rect rect; ///< global points, y upward

        friend bool operator==(const Area&, const Area&) = default;
    };

    std::variant<Display, Window, Area> value;

    [[nodiscard]] static RecordingTarget display(std::string displayID);
    [[nodiscard]] static RecordingTarget window(std::string windowID);
    [[nodiscard]] static RecordingTarget area(std::string displayID, const Rect& rect);

    [[nodiscard]] bool isWindow() const { return std::holds_alternative<Window>(value); }

    friend bool operator==(const RecordingTarget&, const RecordingTarget&) = default;
};

struct AudioCaptureOptions {
    bool includeSystemAudio = false;
    bool includeMicrophone = false;

    friend bool operator==(const AudioCaptureOptions&, const AudioCaptureOptions&) = default;
};

struct CameraCaptureOptions {
    bool includeCamera = false;
    std::optional<std::string> preferredDeviceID; ///< absent: the first device
    bool allowFailureFallbackToScreenOnly =
        true; ///< a camera that fails to start costs a warning, not the take

    friend bool operator==(const CameraCaptureOptions&, const CameraCaptureOptions&) = default;
};

/// Where the recorded source lay when the take was armed: what turns positions on the screen into
/// positions in the picture.
struct CaptureCoordinateMappingContext {
    std::optional<Rect> sourceBounds;        ///< global points, y upward
    std::optional<double> mainDisplayHeight; ///< points

    friend bool operator==(const CaptureCoordinateMappingContext&,
                           const CaptureCoordinateMappingContext&) = default;
};

/// Applications whose windows stay out of a recording of a display or an area.
struct CaptureApplicationExclusionRule {
    std::set<std::string> bundleIdentifiers;
    std::set<std::int32_t> processIdentifiers;

    /// This process, and the desktop application that it was launched as, if it was.
    [[nodiscard]] static CaptureApplicationExclusionRule currentProcess();

    /// Everything that either rule names.
    [[nodiscard]] CaptureApplicationExclusionRule united(const CaptureApplicationExclusionRule& other) const;

    /// Whether the rule names either: an identifier that is empty and a process 0 stand for an unknown one.
    [[nodiscard]] bool excludes(const std::string& bundleIdentifier, std::int32_t processIdentifier) const;

    friend bool operator==(const CaptureApplicationExclusionRule&,
                           const CaptureApplicationExclusionRule&) = default;
};

/// Everything that is asked of one recording. In JSON every key but "target" may be missing.
struct CaptureOptions {
    RecordingTarget target;
    bool excludeCursorFromSource = false; ///< the cursor is to be drawn later, from the events
    AudioCaptureOptions audio;
    CameraCaptureOptions camera;
    std::optional<CaptureCoordinateMappingContext> mappingContext;
    CaptureApplicationExclusionRule applicationExclusionRule =
        CaptureApplicationExclusionRule::currentProcess();

    friend bool operator==(const CaptureOptions&, const CaptureOptions&) = default;
};

/// One observation of where the captured content lay on the screen.
struct CaptureGeometrySample {
    double timestamp = 0;   ///< host clock
    Rect screenRect;        ///< global points
    Rect contentRect;       ///< of the content inside the stream's surface, points
    double scaleFactor = 1; ///< pixels per point
    Size2D surfaceSizePixels;
    bool isYUpward = false; ///< `screenRect` is known to be; else either way must be reckoned with

    friend bool operator==(const CaptureGeometrySample&, const CaptureGeometrySample&) = default;
};

struct CameraCaptureTrackResult {
    std::filesystem::path mediaURL;
    double startedAt = 0; ///< host clock
    double endedAt = 0;   ///< host clock

    /// Seconds, never negative.
    [[nodiscard]] double duration() const;

    friend bool operator==(const CameraCaptureTrackResult&, const CameraCaptureTrackResult&) = default;
};

/// What a capture hands back at its stop.
struct ScreenCaptureResult {
    std::filesystem::path screenSourceURL; ///< the screen movie in its temporary place
    double startedAt = 0;                  ///< host clock: time 0 of the screen movie
    double endedAt = 0;                    ///< host clock: the end of the screen movie
    std::map<AudioTrackDescriptor::Kind, std::filesystem::path> optionalAudio;
    std::optional<CameraCaptureTrackResult> cameraTrack;
    /// What went wrong without ending the take, as in "camera_permission_denied" or "frames_dropped:3".
    std::vector<std::string> warnings;
    std::vector<CaptureGeometrySample> geometrySamples;

    /// Seconds; 0 when the times don't make sense.
    [[nodiscard]] double duration() const;

    friend bool operator==(const ScreenCaptureResult&, const ScreenCaptureResult&) = default;
};

/// The take that is being recorded.
struct RecordingSessionState {
    std::filesystem::path projectURL; ///< the package folder that the stop will fill
    CaptureOptions options;

    friend bool operator==(const RecordingSessionState&, const RecordingSessionState&) = default;
};

void encode(Json& json, const RecordingTarget& value);
void encode(Json& json, const CaptureApplicationExclusionRule& value);

void decode(const Json& json, RecordingTarget& value);
void decode(const Json& json, CaptureApplicationExclusionRule& value);

template <>
struct JsonRecord<AudioCaptureOptions> {
    static void fields(auto& keys, auto& value) {
        keys.required("includeSystemAudio", value.includeSystemAudio);
        keys.required("includeMicrophone", value.includeMicrophone);
    }
};

template <>
struct JsonRecord<CameraCaptureOptions> {
    static void fields(auto& keys, auto& value) {
        keys.required("includeCamera", value.includeCamera);
        keys.tolerated("preferredDeviceID", value.preferredDeviceID);
        keys.required("allowFailureFallbackToScreenOnly", value.allowFailureFallbackToScreenOnly);
    }
};

template <>
struct JsonRecord<CaptureCoordinateMappingContext> {
    static void fields(auto& keys, auto& value) {
        keys.tolerated("sourceBounds", value.sourceBounds);
        keys.tolerated("mainDisplayHeight", value.mainDisplayHeight);
    }
};

template <>
struct JsonRecord<CaptureOptions> {
    static void fields(auto& keys, auto& value) {
        keys.required("target", value.target);
        keys.tolerated("excludeCursorFromSource", value.excludeCursorFromSource);
        keys.tolerated("audio", value.audio);
        keys.tolerated("camera", value.camera);
        keys.tolerated("mappingContext", value.mappingContext);
        keys.tolerated("applicationExclusionRule", value.applicationExclusionRule);
    }
};

} // namespace tavrin
