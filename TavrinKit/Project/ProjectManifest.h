#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "TavrinKit/Project/TavrinConstants.h"
#include "TavrinKit/Support/Date.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// A sound file of a package. Both keys are required in JSON.
struct AudioTrackDescriptor {
    enum class Kind { system, microphone };

    Kind kind = Kind::system;
    std::string fileName{};

    friend bool operator==(const AudioTrackDescriptor&, const AudioTrackDescriptor&) = default;
};

/// A camera movie of a package. All keys are required in JSON; the numbers are read as they stand.
struct CameraTrackDescriptor {
    std::string fileName{};
    double timebaseOffsetSeconds = 0;    ///< start of the camera movie after the start of the screen movie
    double driftMillisecondsPerHour = 0; ///< what the camera's clock gains on the screen's

    /// A number that is not finite becomes 0.
    [[nodiscard]] CameraTrackDescriptor normalized() const;

    friend bool operator==(const CameraTrackDescriptor&, const CameraTrackDescriptor&) = default;
};

/// The table of contents of a project package.
///
/// In JSON every key may be missing. A missing `schemaVersion` reads as 1, a missing `createdAt` as the
/// current time, the others as the defaults given here.
struct ProjectManifest {
    std::int64_t schemaVersion = TavrinConstants::projectSchemaVersion;
    Date createdAt = currentDate();
    std::string screenFileName = "screen.mov";
    bool cursorExcluded = true; ///< the screen movie is without the cursor, which is drawn from the events
    std::vector<AudioTrackDescriptor> audioTracks{};
    std::vector<CameraTrackDescriptor> cameraTracks{};
    std::string eventsFileName = "events.json";
    std::string editsFileName = "edits.json";

    friend bool operator==(const ProjectManifest&, const ProjectManifest&) = default;
};

template <>
struct EnumNames<AudioTrackDescriptor::Kind> {
    using enum AudioTrackDescriptor::Kind;
    static constexpr auto names = namedCases<AudioTrackDescriptor::Kind>({
        {system, "system"},
        {microphone, "microphone"},
    });
};

template <>
struct JsonRecord<AudioTrackDescriptor> {
    static void fields(auto& keys, auto& value) {
        keys.required("kind", value.kind);
        keys.required("fileName", value.fileName);
    }
};

template <>
struct JsonRecord<CameraTrackDescriptor> {
    static void fields(auto& keys, auto& value) {
        keys.required("fileName", value.fileName);
        keys.required("timebaseOffsetSeconds", value.timebaseOffsetSeconds);
        keys.required("driftMillisecondsPerHour", value.driftMillisecondsPerHour);
    }
};

template <>
struct JsonRecord<ProjectManifest> {
    static void fields(auto& keys, auto& value) {
        keys.tolerated("schemaVersion", value.schemaVersion);
        keys.tolerated("createdAt", value.createdAt);
        keys.tolerated("screenFileName", value.screenFileName);
        keys.tolerated("cursorExcluded", value.cursorExcluded);
        keys.tolerated("audioTracks", value.audioTracks);
        keys.tolerated("cameraTracks", value.cameraTracks);
        keys.tolerated("eventsFileName", value.eventsFileName);
        keys.tolerated("editsFileName", value.editsFileName);
    }
};

void decode(const Json& json, ProjectManifest& value);

} // namespace tavrin
