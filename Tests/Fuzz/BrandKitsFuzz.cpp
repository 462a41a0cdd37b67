#include "FuzzTargets.h"
#include "TavrinKit/Library/BrandKitStore.h"

namespace tavrin::fuzz {

namespace {

void examine(const std::vector<BrandKitPreset>& presets) {
    for (const BrandKitPreset& preset : presets) {
        const BrandKitPreset sound = preset.normalized();
        require(!sound.name.empty() && !sound.author.empty() && sound.updatedAt >= sound.createdAt,
                "a normalised kit keeps the rules");
        require(sound.normalized() == sound, "what is normal stays as it is");
        static_cast<void>(encodeDocument(sound.applying({})));
    }
}

} // namespace

void fuzzBrandKits(std::string_view input) {
    if (const auto document = decoded<BrandKitStore::BrandKitLibraryDocument>(input)) {
        requireRoundTrip(*document);
        examine(document->presets);
    }
    if (const auto presets = decoded<std::vector<BrandKitPreset>>(input)) {
        requireRoundTrip(*presets);
        examine(*presets);
    }
}

} // namespace tavrin::fuzz
