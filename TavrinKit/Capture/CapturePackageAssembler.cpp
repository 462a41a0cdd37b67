#include "TavrinKit/Capture/CapturePackageAssembler.h"

#include <algorithm>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "TavrinKit/Project/TavrinConstants.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

std::filesystem::path resolved(const std::filesystem::path& path) {
    std::error_code ignored;
    const std::filesystem::path canonical = std::filesystem::weakly_canonical(path, ignored);
    return canonical.empty() ? path : canonical;
}

std::string fileNameOf(AudioTrackDescriptor::Kind kind) {
    return kind == AudioTrackDescriptor::Kind::system ? "system_audio.m4a" : "mic_audio.m4a";
}

} // namespace

CapturePackageAssembler::CapturePackageAssembler(RecordingSessionState session, ScreenCaptureResult result)
    : session_(std::move(session)), result_(std::move(result)) {}

ProjectPackage CapturePackageAssembler::assemble(const EventTimeline& events,
                                                 const EditsDocument& initialEdits) const {
    ProjectPackage package(session_.projectURL, manifest());
    package.createDirectoriesIfNeeded();
    replaceFileIfNeeded(package.screenURL(), result_.screenSourceURL);
    placeSound(package);
    placeCamera(package);

    EditsDocument edits = initialEdits;
    if (!package.manifest().cameraTracks.empty()) {
        edits.timeline.cameraPiPTrack.style.enabled = true;
    }
    ProjectPackage::validateManifest(package.manifest(), {TavrinConstants::projectSchemaVersion});
    package.saveManifest();
    package.saveEvents(events);
    package.saveEdits(edits);
    return package;
}

void CapturePackageAssembler::replaceFileIfNeeded(const std::filesystem::path& destination,
                                                  const std::filesystem::path& source) {
    if (resolved(destination) != resolved(source)) {
        copyFile(source, destination);
    }
}

ProjectManifest CapturePackageAssembler::manifest() const {
    ProjectManifest manifest;
    manifest.schemaVersion = TavrinConstants::projectSchemaVersion;
    manifest.createdAt = currentDate();
    manifest.screenFileName = "screen.mov";
    manifest.cursorExcluded = session_.options.excludeCursorFromSource;
    manifest.eventsFileName = "events.json";
    manifest.editsFileName = "edits.json";
    return manifest;
}

void CapturePackageAssembler::placeSound(ProjectPackage& package) const {
    std::vector<AudioTrackDescriptor> tracks;
    for (const auto& [kind, file] : result_.optionalAudio) {
        if (isWanted(kind)) {
            const AudioTrackDescriptor& track =
                tracks.emplace_back(AudioTrackDescriptor{kind, fileNameOf(kind)});
            replaceFileIfNeeded(package.audioURL(track), file);
        }
    }
    std::stable_sort(tracks.begin(), tracks.end(),
                     [](const auto& a, const auto& b) { return a.fileName < b.fileName; });
    package.setAudioTracks(std::move(tracks));
}

void CapturePackageAssembler::placeCamera(ProjectPackage& package) const {
    if (!session_.options.camera.includeCamera || !result_.cameraTrack) {
        return;
    }
    const CameraTrackDescriptor track = cameraTrackDescriptor(result_, *result_.cameraTrack, "camera.mov");
    replaceFileIfNeeded(package.cameraURL(track), result_.cameraTrack->mediaURL);
    package.setCameraTracks({track});
}

bool CapturePackageAssembler::isWanted(AudioTrackDescriptor::Kind kind) const {
    return kind == AudioTrackDescriptor::Kind::system ? session_.options.audio.includeSystemAudio
                                                      : session_.options.audio.includeMicrophone;
}

CameraTrackDescriptor cameraTrackDescriptor(const ScreenCaptureResult& screen,
                                            const CameraCaptureTrackResult& camera, std::string fileName) {
    constexpr double millisecondsPerHour = 3'600'000;
    const double screenDuration = std::max(screen.duration(), 1.0); // keeps a short take's ratio sane
    CameraTrackDescriptor track;
    track.fileName = std::move(fileName);
    track.timebaseOffsetSeconds = camera.startedAt - screen.startedAt;
    track.driftMillisecondsPerHour =
        (camera.duration() - screenDuration) / screenDuration * millisecondsPerHour;
    return track.normalized();
}

} // namespace tavrin
