#include "TavrinKit/Export/ExportDestination.h"

#include <algorithm>
#include <cerrno>
#include <string>
#include <system_error>
#include <variant>

#include <sys/stat.h>

#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const EditorSession& session) {
    const ProjectPackage& package = session.package();
    const TimelineModel& timeline = session.edits().timeline;
    std::vector<fs::path> files{package.manifestURL(), package.screenURL(), package.eventsURL(),
                                package.editsURL()};
    for (const AudioTrackDescriptor& track : package.manifest().audioTracks) {
        files.push_back(package.audioURL(track));
    }
    for (const CameraTrackDescriptor& track : package.manifest().cameraTracks) {
        files.push_back(package.cameraURL(track));
    }
    const auto addFileOfUser = [&](const std::string& path) {
        files.push_back(package.rootURL() / trimmed(path));
    };
    for (const ExtraAudioRegion& region : timeline.extraAudioTrack.regions) {
        addFileOfUser(region.filePath);
    }
    for (const AnnotationRegion& region : timeline.annotationTrack.regions) {
        addFileOfUser(region.imagePath.value_or(""));
    }
    addFileOfUser(timeline.watermarkTrack.style.imagePath.value_or(""));
    const auto& background = timeline.framingTrack.style.background.content;
    if (const auto* picture = std::get_if<BackgroundStyle::Image>(&background)) {
        addFileOfUser(picture->path);
    }
    return files;
}

void checkDestination(const fs::path& destination, const std::vector<fs::path>& sources) {
    struct stat status {};
    if (::stat(destination.c_str(), &status) != 0) {
        const int reason = errno;
        if (reason == ENOENT && ::lstat(destination.c_str(), &status) == 0) {
            return; // a link that leads nowhere is replaced
        }
        if (reason != ENOENT || !destination.has_filename()) {
            throw FileError("write", destination, reason);
        }
        return; // a missing folder shows when the file beside it is created
    }
    if (!S_ISREG(status.st_mode)) {
        throw FileError("replace", destination, S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    }
    std::error_code missing;
    if (std::ranges::any_of(
            sources, [&](const fs::path& source) { return fs::equivalent(source, destination, missing); })) {
        throw FileError("replace what the movie is made of,", destination, EBUSY);
    }
}

} // namespace tavrin
