#include "TavrinKit/Library/BrandKitStore.h"

#include <algorithm>
#include <utility>

#include "TavrinKit/Library/BrandKitStoreError.h"
#include "TavrinKit/Project/PremiumDefaults.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/NameOrder.h"

namespace tavrin {
namespace {

using Document = BrandKitStore::BrandKitLibraryDocument;
using Presets = std::vector<BrandKitPreset>;

Presets defaultKits(Date now) {
    return {BrandKitPreset::from(PremiumDefaults::timelineModel(), "Default", "system", now)};
}

void sortLastChangedFirst(Presets& presets) {
    std::ranges::stable_sort(presets, std::ranges::greater{}, &BrandKitPreset::updatedAt);
    for (auto first = presets.begin(); first != presets.end();) {
        const auto isLater = [&](const BrandKitPreset& preset) {
            return preset.updatedAt != first->updatedAt;
        };
        const auto last = std::find_if(first, presets.end(), isLater);
        sortByName(first, last);
        first = last;
    }
}

Document decodeLegacy(const Json& json) {
    return {.presets = decodedFrom<Presets>(json)};
}

template <typename Kits>
auto& kitWithID(Kits& presets, const UUID& id) {
    const auto found = std::ranges::find(presets, id, &BrandKitPreset::id);
    if (found == presets.end()) {
        throw BrandKitStoreError::presetNotFound();
    }
    return *found;
}

} // namespace

std::filesystem::path BrandKitStore::defaultStoreURL() {
    return applicationSupportDirectory() / "brand-kits.json";
}

BrandKitStore::BrandKitStore(const std::filesystem::path& fileURL, std::function<Date()> dateProvider)
    : store_("TavrinKit.BrandKitStore", fileURL), dateProvider_(std::move(dateProvider)) {}

Presets BrandKitStore::loadPresets() {
    const Date now = dateProvider_();
    const std::lock_guard lock(turn_);
    Document document = readDocument(now);
    if (document.presets.empty()) {
        document = {.presets = defaultKits(now)};
        store_.write(document);
    }
    sortLastChangedFirst(document.presets);
    return document.presets;
}

BrandKitPreset BrandKitStore::savePresetFromTimeline(const std::string& name, const TimelineModel& timeline,
                                                     const std::string& author) {
    const Date now = dateProvider_();
    const BrandKitPreset preset = BrandKitPreset::from(timeline, name, author, now);
    const std::lock_guard lock(turn_);
    Document document = readDocument(now);
    document.presets.push_back(preset);
    writeSorted(document);
    return preset;
}

BrandKitPreset BrandKitStore::renamePreset(const UUID& id, const std::string& name) {
    const Date now = dateProvider_();
    const std::lock_guard lock(turn_);
    Document document = readDocument(now);
    BrandKitPreset& preset = kitWithID(document.presets, id);
    preset.name = BrandKitPreset::normalizedName(name);
    preset.updatedAt = now;
    const BrandKitPreset renamed = preset;
    writeSorted(document);
    return renamed;
}

BrandKitPreset BrandKitStore::duplicatePreset(const UUID& id, const std::optional<std::string>& name) {
    const Date now = dateProvider_();
    const std::lock_guard lock(turn_);
    Document document = readDocument(now);
    BrandKitPreset copy = kitWithID(document.presets, id);
    copy.id = UUID::make();
    copy.name = name.value_or(copy.name + " Copy");
    copy.createdAt = now;
    copy.updatedAt = now;
    copy = copy.normalized();
    document.presets.push_back(copy);
    writeSorted(document);
    return copy;
}

Presets BrandKitStore::deletePreset(const UUID& id) {
    const Date now = dateProvider_();
    const std::lock_guard lock(turn_);
    Document document = readDocument(now);
    std::erase_if(document.presets, [&](const BrandKitPreset& preset) { return preset.id == id; });
    if (document.presets.empty()) {
        document.presets = defaultKits(now);
    }
    writeSorted(document);
    return document.presets;
}

Presets BrandKitStore::resetToDefaults() {
    Document document{.presets = defaultKits(dateProvider_())};
    const std::lock_guard lock(turn_);
    store_.write(document);
    return document.presets;
}

std::optional<BrandKitPreset> BrandKitStore::preset(const UUID& id) const {
    const Date now = dateProvider_();
    const std::lock_guard lock(turn_);
    const Presets presets = readDocument(now).presets;
    const auto found = std::ranges::find(presets, id, &BrandKitPreset::id);
    return found == presets.end() ? std::nullopt : std::optional(*found);
}

TimelineModel BrandKitStore::applyPreset(const UUID& id, const TimelineModel& timeline) const {
    const std::optional<BrandKitPreset> found = preset(id);
    if (!found) {
        throw BrandKitStoreError::presetNotFound();
    }
    return found->applying(timeline);
}

Document BrandKitStore::readDocument(Date now) const {
    return store_
        .read<Document>({{"readDocument.decodeCurrentSchema", decodedFrom<Document>},
                         {"readDocument.decodeLegacySchema", decodeLegacy}},
                        now)
        .value_or(Document());
}

void BrandKitStore::writeSorted(Document& document) {
    sortLastChangedFirst(document.presets);
    store_.write(document);
}

} // namespace tavrin
