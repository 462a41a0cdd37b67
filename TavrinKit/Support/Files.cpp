#include "TavrinKit/Support/Files.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <utility>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include "TavrinKit/Support/UUID.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view hiddenSuffix = ".tmp";

FileErrorKind kindOf(int code) {
    switch (code) {
    case ENOENT:
    case ENOTDIR:
        return FileErrorKind::notFound;
    case EACCES:
    case EPERM:
    case EROFS:
        return FileErrorKind::notPermitted;
    case ENOSPC:
    case EDQUOT:
        return FileErrorKind::noSpace;
    case EFBIG:
        return FileErrorKind::tooLarge;
    default:
        return FileErrorKind::other;
    }
}

std::string_view advice(int code) {
    if (code == EISDIR || code == EEXIST || code == EBUSY || code == ENAMETOOLONG) {
        return " Choose another name.";
    }
    switch (kindOf(code)) {
    case FileErrorKind::notFound:
        return " Check that the folder still exists.";
    case FileErrorKind::notPermitted:
        return " Choose a folder that you may write to.";
    case FileErrorKind::noSpace:
        return " Free some space and try again.";
    default:
        return "";
    }
}

/// A file descriptor that closes itself.
class Descriptor {
public:
    Descriptor(const fs::path& path, int flags, std::string_view operation, mode_t mode = 0644)
        : path_(path), operation_(operation), fd_(::open(path.c_str(), flags | O_CLOEXEC, mode)) {
        if (fd_ < 0) {
            throw FileError(operation_, path_, errno);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }

    [[nodiscard]] int get() const { return fd_; }

    void writeAll(const char* data, std::size_t size) const {
        while (size > 0) {
            const ssize_t written = ::write(fd_, data, size);
            if (written < 0) {
                if (errno == EINTR) {
                    continue;
                }
                throw FileError(operation_, path_, errno);
            }
            data += written;
            size -= std::size_t(written);
        }
    }

    void flushAndClose() {
        const int failed = ::fsync(fd_) != 0 ? errno : 0;
        const int closed = ::close(std::exchange(fd_, -1)) != 0 ? errno : 0;
        if (failed != 0 || closed != 0) {
            throw FileError(operation_, path_, failed != 0 ? failed : closed);
        }
    }

private:
    fs::path path_;
    std::string operation_;
    int fd_;
};

void flushFolderOf(const fs::path& path) {
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd); // a file system that cannot flush a folder has still renamed the file
        ::close(fd);
    }
}

/// Lets `fill` write a temporary file beside `path`, then puts it in its place.
template <typename Fill>
void replaceWhole(const fs::path& path, Fill fill) {
    const fs::path temporary = hiddenPathBeside(path);
    try {
        Descriptor file(temporary, O_WRONLY | O_CREAT | O_EXCL, "write");
        fill(file);
        file.flushAndClose();
        moveFile(temporary, path);
    } catch (...) {
        ::unlink(temporary.c_str());
        throw;
    }
}

fs::path homeDirectory() {
    const char* home = std::getenv("HOME");
    return home != nullptr && *home != '\0' ? fs::path(home) : fs::path("/");
}

/// XDG_VIDEOS_DIR out of user-dirs.dirs, which holds shell-like lines: XDG_VIDEOS_DIR="$HOME/Videos"
fs::path videosFromUserDirs() {
    const char* config = std::getenv("XDG_CONFIG_HOME");
    const fs::path folder =
        config != nullptr && *config == '/' ? fs::path(config) : homeDirectory() / ".config";
    std::ifstream file(folder / "user-dirs.dirs");
    constexpr std::string_view key = "XDG_VIDEOS_DIR=\"";
    for (std::string line; std::getline(file, line);) {
        const auto start = line.find_first_not_of(" \t");
        if (start == std::string::npos || line.compare(start, key.size(), key) != 0) {
            continue;
        }
        std::string value = line.substr(start + key.size());
        value = value.substr(0, value.find('"'));
        if (value.rfind("$HOME/", 0) == 0) {
            return homeDirectory() / value.substr(6);
        }
        if (!value.empty() && value[0] == '/') {
            return value;
        }
    }
    return {};
}

} // namespace

FileError::FileError(std::string_view operation, const fs::path& path, int code)
    : ErrorFamily(kindOf(code), fmt::format("Unable to {} \"{}\": {}.{}", operation, path.string(),
                                            std::strerror(code), advice(code))),
      path_(path), code_(code) {}

FileInput::FileInput(fs::path path, std::size_t maximumSize)
    : path_(std::move(path)), fd_(::open(path_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
    struct stat status {};
    int failed = fd_ < 0 || ::fstat(fd_, &status) != 0 ? errno : 0;
    if (failed == 0 && !S_ISREG(status.st_mode)) {
        failed = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    if (failed == 0 && std::size_t(status.st_size) > maximumSize) {
        failed = EFBIG;
    }
    if (failed != 0) {
        if (fd_ >= 0) {
            ::close(fd_);
        }
        throw FileError("read", path_, failed);
    }
    size_ = std::size_t(status.st_size);
}

FileInput::~FileInput() {
    ::close(fd_);
}

std::size_t FileInput::read(char* buffer, std::size_t count) {
    for (;;) {
        const ssize_t got = ::read(fd_, buffer, std::min(count, size_ - position_));
        if (got >= 0) {
            position_ += std::size_t(got);
            return std::size_t(got);
        }
        if (errno != EINTR) {
            throw FileError("read", path_, errno);
        }
    }
}

std::string readAll(FileInput& file) {
    std::string contents(file.size(), '\0');
    std::size_t filled = 0;
    while (const std::size_t count = file.read(contents.data() + filled, contents.size() - filled)) {
        filled += count;
    }
    contents.resize(filled);
    return contents;
}

std::string readFile(const fs::path& path, std::size_t maximumSize) {
    FileInput file(path, maximumSize);
    return readAll(file);
}

void writeFileAtomically(const fs::path& path, std::string_view contents) {
    replaceWhole(path, [&](const Descriptor& file) { file.writeAll(contents.data(), contents.size()); });
}

void writeFileAtomically(const fs::path& path,
                         const std::function<void(const std::function<void(std::string_view)>&)>& produce) {
    replaceWhole(path, [&](const Descriptor& file) {
        produce([&](std::string_view piece) { file.writeAll(piece.data(), piece.size()); });
    });
}

void copyFile(const fs::path& from, const fs::path& to) {
    const Descriptor source(from, O_RDONLY, "read");
    replaceWhole(to, [&](const Descriptor& file) {
        std::vector<char> chunk(std::size_t(1) << 20);
        for (;;) {
            const ssize_t count = ::read(source.get(), chunk.data(), chunk.size());
            if (count < 0 && errno == EINTR) {
                continue;
            }
            if (count < 0) {
                throw FileError("read", from, errno);
            }
            if (count == 0) {
                return;
            }
            file.writeAll(chunk.data(), std::size_t(count));
        }
    });
}

void linkOrCopyFile(const fs::path& from, const fs::path& to) {
    if (::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW) != 0) {
        copyFile(from, to);
    }
}

void moveFile(const fs::path& from, const fs::path& to) {
    if (::rename(from.c_str(), to.c_str()) != 0) {
        throw FileError("write", to, errno);
    }
    flushFolderOf(to);
}

fs::path hiddenPathBeside(const fs::path& path) {
    constexpr std::size_t most = 128; // bytes, which leaves room for the rest in the 255 of a name
    const std::string name = path.filename().string().substr(0, most);
    return path.parent_path() / fmt::format(".{}.{}{}", name, UUID::make().string(), hiddenSuffix);
}

bool isHiddenName(std::string_view name) {
    const std::size_t tail = UUID().string().size() + hiddenSuffix.size();
    if (name.size() < tail + 2 || !name.starts_with('.') || !name.ends_with(hiddenSuffix)) {
        return false;
    }
    name.remove_suffix(hiddenSuffix.size());
    const std::size_t dot = name.size() - UUID().string().size() - 1;
    return name[dot] == '.' && UUID::parse(name.substr(dot + 1)).has_value();
}

void removeFile(const fs::path& path) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) {
        throw FileError("remove", path, errno);
    }
}

void createDirectories(const fs::path& path) {
    std::error_code error;
    fs::create_directories(path, error);
    if (error) {
        throw FileError("create the folder", path, error.value());
    }
}

void createNewDirectory(const fs::path& path) {
    if (::mkdir(path.c_str(), 0777) != 0) {
        throw FileError("create the folder", path, errno);
    }
}

fs::path videosDirectory() {
    const fs::path configured = videosFromUserDirs();
    return configured.empty() ? homeDirectory() / "Videos" : configured;
}

fs::path applicationSupportDirectory() {
    const char* data = std::getenv("XDG_DATA_HOME");
    const fs::path base = data != nullptr && *data == '/' ? fs::path(data) : homeDirectory() / ".local/share";
    return base / "Tavrin";
}

namespace {
constexpr std::string_view base64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> base64Values = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < base64Alphabet.size(); ++i) {
        values[std::uint8_t(base64Alphabet[i])] = std::int8_t(i);
    }
    return values;
}();
} // namespace

std::string base64Encode(std::span<const std::uint8_t> bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t group = std::uint32_t(bytes[i]) << 16;
        group |= count > 1 ? std::uint32_t(bytes[i + 1]) << 8 : 0;
        group |= count > 2 ? std::uint32_t(bytes[i + 2]) : 0;
        text += base64Alphabet[group >> 18];
        text += base64Alphabet[(group >> 12) & 63];
        text += count > 1 ? base64Alphabet[(group >> 6) & 63] : '=';
        text += count > 2 ? base64Alphabet[group & 63] : '=';
    }
    return text;
}

bool base64Decode(std::string_view text, Bytes& bytes) {
    bytes.clear();
    if (text.size() % 4 != 0) {
        return false;
    }
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t i = 0; i < text.size(); i += 4) {
        const bool last = i + 4 == text.size();
        const int padding = !last ? 0 : text[i + 3] != '=' ? 0 : text[i + 2] != '=' ? 1 : 2;
        std::uint32_t group = 0;
        for (int k = 0; k < 4; ++k) {
            const int value = k >= 4 - padding ? 0 : base64Values[std::uint8_t(text[i + std::size_t(k)])];
            if (value < 0) {
                return false;
            }
            group = group << 6 | std::uint32_t(value);
        }
        bytes.push_back(std::uint8_t(group >> 16));
        if (padding < 2) {
            bytes.push_back(std::uint8_t(group >> 8));
        }
        if (padding < 1) {
            bytes.push_back(std::uint8_t(group));
        }
    }
    return true;
}

} // namespace tavrin
