#include "TavrinKit/Export/ExportPresetStore.h"

#include <algorithm>

#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/NameOrder.h"

namespace tavrin {
namespace {

constexpr std::int64_t currentSchema = 2;

ExportPresetStore::Document decodeLegacy(const Json& json) {
    return {currentSchema, decodedFrom<std::vector<ExportPreset>>(json)};
}

} // namespace

std::filesystem::path ExportPresetStore::defaultStoreURL() {
    return applicationSupportDirectory() / "export-presets.json";
}

ExportPresetStore::ExportPresetStore(const std::filesystem::path& fileURL)
    : store_("TavrinKit.ExportPresetStore", fileURL) {}

std::vector<ExportPreset>
ExportPresetStore::builtInPresets(const ExportCapabilitySnapshot& capability) const {
    return PremiumDefaults::defaultExportPresets(capability);
}

std::vector<ExportPreset> ExportPresetStore::customPresets() const {
    const std::lock_guard lock(turn_);
    std::vector<ExportPreset> presets = readDocument().customPresets;
    sortByName(presets.begin(), presets.end());
    return presets;
}

void ExportPresetStore::upsertCustomPreset(ExportPreset preset) {
    preset.category = ExportPresetCategory::custom;
    preset.isOptional = false;
    const std::lock_guard lock(turn_);
    Document document = readDocument();
    std::vector<ExportPreset>& presets = document.customPresets;
    const auto known = std::ranges::find(presets, preset.id, &ExportPreset::id);
    if (known != presets.end()) {
        *known = std::move(preset);
    } else {
        presets.push_back(std::move(preset));
    }
    document.schemaVersion = currentSchema;
    store_.write(document);
}

void ExportPresetStore::deleteCustomPreset(const std::string& id) {
    const std::lock_guard lock(turn_);
    Document document = readDocument();
    std::erase_if(document.customPresets, [&](const ExportPreset& preset) { return preset.id == id; });
    store_.write(document);
}

ExportPresetStore::Document ExportPresetStore::readDocument() const {
    return store_
        .read<Document>({{"readDocument.decodeCurrentSchema", decodedFrom<Document>},
                         {"readDocument.decodeLegacySchema", decodeLegacy, false}},
                        currentDate())
        .value_or(Document());
}

} // namespace tavrin
