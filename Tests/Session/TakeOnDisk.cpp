#include "TakeOnDisk.h"

#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin::test {

TemporaryFolder::TemporaryFolder()
    : path_(std::filesystem::temp_directory_path() / ("tavrin-session-" + UUID::make().string())) {
    createDirectories(path_);
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

EventTimeline clicksAt(const std::vector<double>& times) {
    std::vector<MouseEvent> events;
    for (const double time : times) {
        events.push_back({time, {0.3, 0.6}, MouseEventKind::clicked, 0});
    }
    return EventTimeline(events);
}

ProjectPackage savedPackage(const std::filesystem::path& root, const EventTimeline& events) {
    ProjectPackage package(root, ProjectManifest{});
    package.createDirectoriesIfNeeded();
    writeFileAtomically(package.screenURL(), "pictures");
    package.saveManifest();
    package.saveEvents(events);
    package.saveEdits({});
    return package;
}

} // namespace tavrin::test
