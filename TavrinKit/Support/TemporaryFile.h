#pragma once

#include <filesystem>

namespace tavrin {

/// A file of which nothing stays unless it is kept or moved to where it belongs.
///
/// One that can't be removed is tried once more, then noted in the log and left.
class TemporaryFile {
public:
    /// Takes charge of a path, whether or not anything lies there yet.
    explicit TemporaryFile(std::filesystem::path path) : path_(std::move(path)) {}

    /// Creates an empty file under a hidden name of its own beside `path`, so that what is written there can
    /// take its place by a rename.
    /// @throws FileError about `path`
    [[nodiscard]] static TemporaryFile beside(const std::filesystem::path& path);

    /// Removes what exports that were killed have left in the folder of `path`: files of this user with such
    /// hidden names that nobody has locked or touched for ten minutes. What can't be removed stays.
    static void removeStraysBeside(const std::filesystem::path& path) noexcept;

    ~TemporaryFile();
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

    /// Renames it over whatever lies at `destination`, then flushes the folder.
    /// @throws FileError; then the destination is as it was
    void moveTo(const std::filesystem::path& destination);

    /// It stays where it is.
    void keep() { path_.clear(); }

private:
    std::filesystem::path path_; ///< empty when there is nothing to remove
};

} // namespace tavrin
