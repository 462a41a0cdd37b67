#include "FuzzTargets.h"
#include "TavrinKit/Export/ExportPresetStore.h"
#include "TavrinKit/Support/NameOrder.h"

namespace tavrin::fuzz {

namespace {

void examine(std::vector<ExportPreset> presets) {
    for (const ExportPreset& preset : presets) {
        require(preset.fps >= 1, "a frame rate is at least 1");
        require(preset.wholeFramesPerSecond() >= 1, "a frame rate is at least 1");
    }
    sortByName(presets.begin(), presets.end());
    const std::vector<ExportPreset> sorted = presets;
    sortByName(presets.begin(), presets.end());
    require(presets == sorted, "what is sorted stays as it is");
}

} // namespace

void fuzzPresets(std::string_view input) {
    if (const auto document = decoded<ExportPresetStore::Document>(input)) {
        requireRoundTrip(*document);
        examine(document->customPresets);
    }
    if (const auto presets = decoded<std::vector<ExportPreset>>(input)) {
        requireRoundTrip(*presets);
        examine(*presets);
    }
}

} // namespace tavrin::fuzz
