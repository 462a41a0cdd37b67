#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Library/BrandKitPreset.h"
#include "TavrinKit/Support/JsonStore.h"

namespace tavrin {

/// The user's brand kits, in one file outside of all projects; there is always at least one.
///
/// Any thread may call; calls take turns, each with its reading and writing of the file as a whole. Nobody
/// else writes the file. A damaged file reads as no kits, and a copy of it is kept beside it under
/// "brand-kits.corrupt-{timestamp}.json".
///
/// Lists are sorted: the kit that was changed last comes first; those of the same second by name, as
/// `sortByName` does.
///
/// All operations throw FileError: when the file is there and can't be read, or when it can't be written. The
/// old file is then as it was.
class BrandKitStore {
public:
    /// What the file holds; both keys are required. In older versions it was a bare list of kits.
    struct BrandKitLibraryDocument {
        std::int64_t schemaVersion = 1;
        std::vector<BrandKitPreset> presets{};

        friend bool operator==(const BrandKitLibraryDocument&, const BrandKitLibraryDocument&) = default;
    };

    /// "brand-kits.json" in the application support folder.
    [[nodiscard]] static std::filesystem::path defaultStoreURL();

    /// Touches no file.
    /// @param dateProvider  the current date; called on the threads that call the store, several at once
    explicit BrandKitStore(const std::filesystem::path& fileURL = defaultStoreURL(),
                           std::function<Date()> dateProvider = currentDate);

    [[nodiscard]] const std::filesystem::path& fileURL() const { return store_.fileURL(); }

    /// All kits. Where there are none, one named "Default" is made and stored.
    [[nodiscard]] std::vector<BrandKitPreset> loadPresets();

    /// Stores the timeline's styles as a new kit. A blank name becomes "Untitled Brand Kit", a blank author
    /// "local".
    BrandKitPreset savePresetFromTimeline(const std::string& name, const TimelineModel& timeline,
                                          const std::string& author);

    /// @throws BrandKitStoreError (presetNotFound)
    BrandKitPreset renamePreset(const UUID& id, const std::string& name);

    /// @param name  by default that of the source and " Copy"
    /// @throws BrandKitStoreError (presetNotFound)
    BrandKitPreset duplicatePreset(const UUID& id, const std::optional<std::string>& name = {});

    /// An unknown id removes nothing. The last kit is replaced by a new default one.
    /// @return those that are left
    std::vector<BrandKitPreset> deletePreset(const UUID& id);

    /// Replaces all kits by a new default one.
    std::vector<BrandKitPreset> resetToDefaults();

    [[nodiscard]] std::optional<BrandKitPreset> preset(const UUID& id) const;

    /// @throws BrandKitStoreError (presetNotFound)
    [[nodiscard]] TimelineModel applyPreset(const UUID& id, const TimelineModel& timeline) const;

private:
    [[nodiscard]] BrandKitLibraryDocument readDocument(Date now) const;
    void writeSorted(BrandKitLibraryDocument& document);

    JsonStore store_;
    std::function<Date()> dateProvider_;
    mutable std::mutex turn_; ///< held while the file is read and written
};

template <>
struct JsonRecord<BrandKitStore::BrandKitLibraryDocument> {
    static void fields(auto& keys, auto& value) {
        keys.required("schemaVersion", value.schemaVersion);
        keys.required("presets", value.presets);
    }
};

} // namespace tavrin
