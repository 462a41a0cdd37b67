#include <cstdio>
#include <exception>
#include <functional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "Fixtures/TemporaryFolder.h"
#include "Measuring/Measuring.h"
#include "TavrinKit/Export/ExportPresetStore.h"
#include "TavrinKit/Library/BrandKitStore.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Support/Files.h"

// What it takes to load the settings of a user who keeps a great many.

namespace {

using namespace tavrin;

constexpr int records = 1000;
constexpr int rounds = 15;

/// Prints the median, in milliseconds.
void measure(const char* name, const std::function<std::size_t()>& load) {
    std::vector<double> costs;
    for (int i = 0; i < rounds; ++i) {
        const double seconds = bench::secondsTaken([&] {
            if (load() != records) {
                throw Error("The store has lost something.");
            }
        });
        costs.push_back(1000 * seconds);
    }
    bench::printFigure(name, bench::median(costs), "ms");
}

std::string nameOf(int i) {
    return fmt::format("Look {} of the house", i * 7919 % records);
}

} // namespace

int main() {
    try {
        const test::TemporaryFolder folder;
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
        return 0;
    } catch (const std::exception& error) {
        fmt::print(stderr, "{}\n", error.what());
        return 1;
    }
}
