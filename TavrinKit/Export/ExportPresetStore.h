#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

#include "TavrinKit/Project/ExportPreset.h"
#include "TavrinKit/Support/JsonStore.h"

namespace tavrin {

/// The user's own export presets, in one file outside of all projects.
///
/// Any thread may call; calls take turns, each with its reading and writing of the file as a whole. Nobody
/// else writes the file. A damaged file reads as no presets, and a copy of it is kept beside it under
/// "export-presets.corrupt-{timestamp}.json".
///
/// All operations throw FileError: when the file is there and can't be read, or when it can't be written. The
/// old file is then as it was.
class ExportPresetStore {
public:
    /// What the file holds; both keys may be missing. In older versions it was a bare list of presets.
    struct Document {
        std::int64_t schemaVersion = 2;
        std::vector<ExportPreset> customPresets{};

        friend bool operator==(const Document&, const Document&) = default;
    };

    /// "export-presets.json" in the application support folder.
    [[nodiscard]] static std::filesystem::path defaultStoreURL();

    /// Touches no file.
    explicit ExportPresetStore(const std::filesystem::path& fileURL = defaultStoreURL());

    [[nodiscard]] const std::filesystem::path& fileURL() const { return store_.fileURL(); }

    [[nodiscard]] std::vector<ExportPreset> builtInPresets(const ExportCapabilitySnapshot& capability) const;

    /// Sorted as `sortByName` does.
    [[nodiscard]] std::vector<ExportPreset> customPresets() const;

    /// Puts the preset in the place of the one with its id, or at the end. It is stored as a custom preset
    /// that isn't optional, whatever it says.
    void upsertCustomPreset(ExportPreset preset);

    /// Removes every preset with the id; one that is unknown rewrites the file as it was.
    void deleteCustomPreset(const std::string& id);

private:
    [[nodiscard]] Document readDocument() const;

    JsonStore store_;
    mutable std::mutex turn_; ///< held while the file is read and written
};

template <>
struct JsonRecord<ExportPresetStore::Document> {
    static void fields(auto& keys, auto& value) {
        keys.tolerated("schemaVersion", value.schemaVersion);
        keys.tolerated("customPresets", value.customPresets);
    }
};

} // namespace tavrin
