#pragma once

#include <filesystem>
#include <string>

#include "TavrinKit/Capture/CaptureTypes.h"
#include "TavrinKit/Project/EditsDocument.h"
#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/ProjectPackage.h"

namespace tavrin {

/// Makes a project package on disk of what a finished take left behind: media under their fixed names,
/// manifest, events, edits.
class CapturePackageAssembler {
public:
    CapturePackageAssembler(RecordingSessionState session, ScreenCaptureResult result);

    /// What was already placed stays when this fails.
    /// @param events        on the movie's clock, in the picture's coordinates
    /// @param initialEdits  written as they are but for the camera's picture, which a camera track turns on
    /// @throws FileError, ProjectPackageValidationError
    [[nodiscard]] ProjectPackage assemble(const EventTimeline& events,
                                          const EditsDocument& initialEdits) const;

    /// Puts a file in place of whatever file lies at `destination`, by a copy. Nothing happens when the two
    /// are one file, be it through a symbolic link.
    /// @throws FileError
    static void replaceFileIfNeeded(const std::filesystem::path& destination,
                                    const std::filesystem::path& source);

private:
    [[nodiscard]] ProjectManifest manifest() const;
    void placeSound(ProjectPackage& package) const;
    void placeCamera(ProjectPackage& package) const;
    [[nodiscard]] bool isWanted(AudioTrackDescriptor::Kind kind) const;

    const RecordingSessionState session_;
    const ScreenCaptureResult result_;
};

/// How a camera's clock stands to the screen's.
/// @return offset and drift for a descriptor of the given name; what is not finite is 0
[[nodiscard]] CameraTrackDescriptor cameraTrackDescriptor(const ScreenCaptureResult& screen,
                                                          const CameraCaptureTrackResult& camera,
                                                          std::string fileName);

} // namespace tavrin
