#include "SavedFiles.h"

#include "TavrinKit/Export/ExportPresetStore.h"
#include "TavrinKit/Library/BrandKitStore.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Project/ProjectPackage.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::test {

namespace {

namespace fs = std::filesystem;

const Date date = *parseISO8601("2026-01-15T10:15:30Z");

ProjectPackage packageIn(const fs::path& folder) {
    ProjectManifest manifest;
    manifest.createdAt = date;
    return ProjectPackage(folder, manifest);
}

ExportPreset presetNamed(const std::string& name) {
    ExportPreset preset;
    preset.name = name;
    preset.fps = 1234567.891;
    preset.bitrate = {ExportBitrateStrategy::constantMbps, 1234.5, {}, 1e-7};
    preset.id = preset.generatedIdentifier();
    return preset;
}

UUID kitID(int number) {
    UUID id;
    id.bytes.back() = std::uint8_t(number);
    return id;
}

/// Kits of one second, so that their names say in which order the file has them.
void saveKits(const fs::path& folder) {
    BrandKitStore::BrandKitLibraryDocument document;
    for (const char* name : {"zebra", "Öl", "apfel", "Äpfel", "Apfel", "Zebra"}) {
        BrandKitPreset kit = BrandKitPreset::from(PremiumDefaults::timelineModel(), name, "a", date);
        kit.id = kitID(int(document.presets.size()));
        kit.cursorStyle.sizeMultiplier = 1234567.5;
        document.presets.push_back(kit);
    }
    writeFileAtomically(folder / "brand-kits.json", encodeDocument(document));
}

} // namespace

std::vector<SavedFile> savedFiles() {
    std::vector<SavedFile> all;
    all.push_back({"manifest", "manifest.json",
                   [](const fs::path& folder) { packageIn(folder).saveManifest(); },
                   [](const fs::path& folder) {
                       ProjectPackage package = packageIn(folder);
                       package.setCameraTracks({{"camera.mov", 1234.5, -1e-7}});
                       package.saveManifest();
                   }});
    all.push_back({"events", "events.json", [](const fs::path& folder) { packageIn(folder).saveEvents({}); },
                   [](const fs::path& folder) {
                       packageIn(folder).saveEvents(
                           EventTimeline({{1234567.5, {0.25, 1e-9}, MouseEventKind::clicked, 1234567}},
                                         {{.timestamp = 0.1, .displayText = "ä"}}));
                   }});
    all.push_back({"edits", "edits.json", [](const fs::path& folder) { packageIn(folder).saveEdits({}); },
                   [](const fs::path& folder) {
                       EditsDocument edits{PremiumDefaults::timelineModel(), {}, {}};
                       edits.timeline.trimRange = ClipTimeRange{0.1, 1234567.5};
                       packageIn(folder).saveEdits(edits);
                   }});
    all.push_back(
        {"presets", "export-presets.json",
         [](const fs::path& folder) {
             ExportPresetStore(folder / "export-presets.json").upsertCustomPreset(presetNamed("Öl"));
         },
         [](const fs::path& folder) {
             ExportPresetStore(folder / "export-presets.json").upsertCustomPreset(presetNamed("apfel"));
         }});
    all.push_back({"brandKits", "brand-kits.json", saveKits, [](const fs::path& folder) {
                       BrandKitStore store(folder / "brand-kits.json", [] { return date; });
                       store.renamePreset(kitID(0), "ärger");
                   }});
    return all;
}

} // namespace tavrin::test
