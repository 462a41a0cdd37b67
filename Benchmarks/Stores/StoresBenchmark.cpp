#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <vector>

#include <fmt/format.h>

#include "TavrinKit/Export/ExportPresetStore.h"
#include "TavrinKit/Library/BrandKitStore.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Support/Files.h"

// What it takes to load the settings of a user who keeps a great many.

namespace {

namespace fs = std::filesystem;
using namespace tavrin;

constexpr int records = 1000;
constexpr int rounds = 15;

/// Prints the median, in milliseconds.
void measure(const char* name, const std::function<std::size_t()>& load) {
    std::vector<double> costs;
    for (int i = 0; i < rounds; ++i) {
        const auto start = std::chrono::steady_clock::now();
        if (load() != records) {
            throw Error("The store has lost something.");
        }
        costs.push_back(
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    }
    std::ranges::nth_element(costs, costs.begin() + rounds / 2);
    fmt::print("{}: {:.4g} ms\n", name, costs[rounds / 2]);
}

std::string nameOf(int i) {
    return fmt::format("Look {} of the house", i * 7919 % records);
}

} // namespace

int main() {
    const fs::path folder = fs::temp_directory_path() / ("tavrin-stores-" + UUID::make().string());
    int status = 0;
    try {
        createDirectories(folder);
        ExportPresetStore::Document presets;
        BrandKitStore::BrandKitLibraryDocument kits;
        for (int i = 0; i < records; ++i) {
            ExportPreset preset = ExportPreset::required1080p(ExportAspectPreset::horizontal16x9,
                                                              ExportSpeedQualityMode::highQuality);
            preset.category = ExportPresetCategory::custom;
            preset.name = nameOf(i);
            preset.id = preset.generatedIdentifier();
            presets.customPresets.push_back(preset);
            kits.presets.push_back(BrandKitPreset::from(PremiumDefaults::timelineModel(), nameOf(i), "", {}));
        }
        const ExportPresetStore presetStore(folder / "export-presets.json");
        BrandKitStore kitStore(folder / "brand-kits.json");
        writeFileAtomically(presetStore.fileURL(), encodeDocument(presets));
        writeFileAtomically(kitStore.fileURL(), encodeDocument(kits));
        measure("store.load", [&] { return presetStore.customPresets().size(); });
        measure("store.load.brandkits", [&] { return kitStore.loadPresets().size(); });
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        status = 1;
    }
    fs::remove_all(folder);
    return status;
}
