#include "TavrinKit/Support/TemporaryFile.h"

#include <cerrno>
#include <ctime>
#include <exception>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/Log.h"

namespace tavrin {

TemporaryFile TemporaryFile::beside(const std::filesystem::path& path) {
    const std::filesystem::path hidden = hiddenPathBeside(path);
    const int descriptor = ::open(hidden.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    if (descriptor < 0) {
        throw FileError("write", path, errno);
    }
    ::close(descriptor);
    return TemporaryFile(hidden);
}

namespace {

constexpr std::time_t longestPause = 600; // seconds; between the writing of a movie and its move

/// Nobody else can take the lock between the look and the removal, and nobody creates the name again.
void removeIfStray(const std::filesystem::path& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        return;
    }
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == ::geteuid() &&
        status.st_nlink == 1 && status.st_mtime < std::time(nullptr) - longestPause &&
        ::flock(descriptor, LOCK_EX | LOCK_NB) == 0) {
        ::unlink(path.c_str());
    }
    ::close(descriptor);
}

} // namespace

void TemporaryFile::removeStraysBeside(const std::filesystem::path& path) noexcept {
    try {
        const auto folder = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
        for (const auto& entry : std::filesystem::directory_iterator(folder)) {
            if (isHiddenName(entry.path().filename().native())) {
                removeIfStray(entry.path());
            }
        }
    } catch (const std::exception&) {
        return; // a folder that can't be listed may still be written to
    }
}

TemporaryFile::~TemporaryFile() {
    if (path_.empty() || ::unlink(path_.c_str()) == 0 || errno == ENOENT) {
        return;
    }
    try {
        removeFile(path_);
    } catch (...) {
        logRecoverableFailure("TavrinKit.TemporaryFile", "remove", std::current_exception(),
                              {{"path", path_.string()}});
    }
}

void TemporaryFile::moveTo(const std::filesystem::path& destination) {
    moveFile(path_, destination);
    path_.clear();
}

} // namespace tavrin
