#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tavrin::test {

/// A file that the engine saves, and two contents for it. All saving is done with fixed ids and dates.
struct SavedFile {
    std::string name;
    std::string file;
    std::function<void(const std::filesystem::path& folder)> saveOld;
    std::function<void(const std::filesystem::path& folder)> saveNew;
};

/// The edits, the manifest, the events and every store.
[[nodiscard]] std::vector<SavedFile> savedFiles();

} // namespace tavrin::test
