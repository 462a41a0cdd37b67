#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class FileErrorKind { notFound, notPermitted, noSpace, tooLarge, other };

/// A file operation that failed, with the path and the reason that the system gave.
class FileError : public ErrorFamily<FileErrorKind> {
public:
    /// @param operation  what was tried, as in "write" or "create folder"
    /// @param code       an errno value
    FileError(std::string_view operation, const std::filesystem::path& path, int code);

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] int code() const { return code_; }

private:
    std::filesystem::path path_;
    int code_;
};

using Bytes = std::vector<std::uint8_t>;

/// A regular file, open for reading from its start to its end.
class FileInput {
public:
    /// Anything but a regular file is refused; a pipe is not waited for.
    /// @throws FileError; of kind tooLarge when the file is longer than `maximumSize`
    explicit FileInput(std::filesystem::path path, std::size_t maximumSize = std::size_t(4) << 30);
    FileInput(const FileInput&) = delete;
    FileInput& operator=(const FileInput&) = delete;
    ~FileInput();

    /// Bytes in the file when it was opened.
    [[nodiscard]] std::size_t size() const { return size_; }

    /// Reads up to `count` bytes.
    /// @return how many; 0 at the end, and once as many were read as the file had when it was opened
    /// @throws FileError
    std::size_t read(char* buffer, std::size_t count);

private:
    std::filesystem::path path_;
    int fd_;
    std::size_t size_ = 0;
    std::size_t position_ = 0;
};

/// What is left of the file.
/// @throws FileError
[[nodiscard]] std::string readAll(FileInput& file);

/// @throws FileError, as FileInput does
[[nodiscard]] std::string readFile(const std::filesystem::path& path, std::size_t maximumSize = std::size_t(4)
                                                                                                << 30);

/// Writes a file whole or not at all: a temporary file beside it, a flush, a rename over it, a flush of the
/// folder. A hard link to the old file keeps the old contents. Leaves no temporary file behind on failure.
/// @throws FileError
void writeFileAtomically(const std::filesystem::path& path, std::string_view contents);

/// The same for contents that come in pieces: `produce` hands them to its argument. What it throws passes
/// through, and leaves the old file in place.
void writeFileAtomically(const std::filesystem::path& path,
                         const std::function<void(const std::function<void(std::string_view)>&)>& produce);

/// Copies a regular file, whole or not at all, as `writeFileAtomically` does.
/// @throws FileError
void copyFile(const std::filesystem::path& from, const std::filesystem::path& to);

/// Makes `to` another name of the same file, or a copy where the file system has no such names.
/// @throws FileError
void linkOrCopyFile(const std::filesystem::path& from, const std::filesystem::path& to);

/// Renames over whatever lies at `to`, then flushes the folder.
/// @throws FileError
void moveFile(const std::filesystem::path& from, const std::filesystem::path& to);

/// A hidden name that nothing else has, in the folder of `path`, for a file that will take its place.
[[nodiscard]] std::filesystem::path hiddenPathBeside(const std::filesystem::path& path);

/// Whether a file's name is one that `hiddenPathBeside` gives.
[[nodiscard]] bool isHiddenName(std::string_view name);

/// Removes a file; none there is no error.
/// @throws FileError
void removeFile(const std::filesystem::path& path);

/// Creates the folder with what is missing above it.
/// @throws FileError
void createDirectories(const std::filesystem::path& path);

/// Creates one folder; one of that name that is there already is an error.
/// @throws FileError
void createNewDirectory(const std::filesystem::path& path);

/// The user's videos folder: the XDG one, else ~/Videos. It need not exist.
[[nodiscard]] std::filesystem::path videosDirectory();

/// $XDG_DATA_HOME/Tavrin, else ~/.local/share/Tavrin. It need not exist.
[[nodiscard]] std::filesystem::path applicationSupportDirectory();

[[nodiscard]] std::string base64Encode(std::span<const std::uint8_t> bytes);

/// @return false when the text is no standard base64 with padding; `bytes` is then undefined
[[nodiscard]] bool base64Decode(std::string_view text, Bytes& bytes);

} // namespace tavrin
