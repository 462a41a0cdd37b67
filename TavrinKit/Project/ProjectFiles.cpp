#include "TavrinKit/Project/ProjectFiles.h"

#include "TavrinKit/Project/EventTimelineFile.h"

namespace tavrin {
namespace {

constexpr std::size_t mebibyte = std::size_t(1) << 20;
constexpr std::size_t maximumManifestSize = 16 * mebibyte;
constexpr std::size_t maximumEditsSize = 64 * mebibyte;
constexpr std::size_t maximumEventsSize = 4096 * mebibyte; ///< an hour takes some 200 MiB

} // namespace

std::string readManifestFile(const std::filesystem::path& path) {
    return readFile(path, maximumManifestSize);
}

void writeManifestFile(const std::filesystem::path& path, const ProjectManifest& manifest) {
    writeFileAtomically(path, encodeDocument(manifest));
}

FileInput openEventsFile(const std::filesystem::path& path) {
    return FileInput(path, maximumEventsSize);
}

EventTimeline readEvents(FileInput& file) {
    JsonReader reader([&](char* buffer, std::size_t size) { return file.read(buffer, size); });
    return readEventTimeline(reader);
}

void writeEventsFile(const std::filesystem::path& path, const EventTimeline& timeline) {
    writeFileAtomically(path, [&](const std::function<void(std::string_view)>& put) {
        JsonWriter writer(put);
        writeEventTimeline(writer, timeline);
    });
}

FileInput openEditsFile(const std::filesystem::path& path) {
    return FileInput(path, maximumEditsSize);
}

EditsDocument readEdits(FileInput& file) {
    return decodeDocument<EditsDocument>(readAll(file));
}

void writeEditsFile(const std::filesystem::path& path, const EditsDocument& document) {
    writeFileAtomically(path, encodeDocument(document));
}

} // namespace tavrin
