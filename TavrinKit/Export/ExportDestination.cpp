#include "TavrinKit/Export/ExportDestination.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include <sys/stat.h>

#include "TavrinKit/Support/Files.h"

namespace tavrin {

namespace fs = std::filesystem;

std::vector<fs::path> filesOf(const EditorSession& session) {
    const ProjectPackage& package = session.package();
    std::vector<fs::path> files{package.manifestURL(), package.screenURL(), package.eventsURL(),
                                package.editsURL()};
    for (const AudioTrackDescriptor& track : package.manifest().audioTracks) {
        files.push_back(package.audioURL(track));
    }
    for (const CameraTrackDescriptor& track : package.manifest().cameraTracks) {
        files.push_back(package.cameraURL(track));
    }
    for (const ExtraAudioRegion& region : session.edits().timeline.extraAudioTrack.regions) {
        files.push_back(package.rootURL() / fs::path(region.normalized().filePath));
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
