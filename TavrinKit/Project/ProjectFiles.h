#pragma once

#include <filesystem>

#include "TavrinKit/Project/EditsDocument.h"
#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/ProjectManifest.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {

// The JSON files of a package, whole or not at all. Files beyond any sensible size are refused: what they
// would unfold to must fit into memory.

/// The text of a manifest, which may be of any schema.
[[nodiscard]] std::string readManifestFile(const std::filesystem::path& path);

void writeManifestFile(const std::filesystem::path& path, const ProjectManifest& manifest);

[[nodiscard]] FileInput openEventsFile(const std::filesystem::path& path);
[[nodiscard]] EventTimeline readEvents(FileInput& file);
void writeEventsFile(const std::filesystem::path& path, const EventTimeline& timeline);

[[nodiscard]] FileInput openEditsFile(const std::filesystem::path& path);
[[nodiscard]] EditsDocument readEdits(FileInput& file);
void writeEditsFile(const std::filesystem::path& path, const EditsDocument& document);

} // namespace tavrin
