#include "TavrinKit/Support/TemporaryFile.h"

#include <cerrno>
#include <exception>

#include <fcntl.h>
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
