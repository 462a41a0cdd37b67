#include "TavrinKit/Readiness/MachineFacts.h"

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <ios>
#include <limits>
#include <string>
#include <system_error>

#include <sys/statvfs.h>
#include <unistd.h>

#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

/// The blocks of memory that are switched on, by their size; 0 where the kernel doesn't list them.
std::uint64_t listedMemoryBytes() {
    const std::filesystem::path folder = "/sys/devices/system/memory";
    std::uint64_t blockSize = 0;
    std::ifstream(folder / "block_size_bytes") >> std::hex >> blockSize;
    std::uint64_t blocks = 0;
    std::error_code ignored;
    for (std::filesystem::directory_iterator entry(folder, ignored), end; !ignored && entry != end;
         entry.increment(ignored)) {
        int isOnline = 0;
        if (std::ifstream(entry->path() / "online") >> isOnline && isOnline == 1) {
            ++blocks;
        }
    }
    return blocks * blockSize;
}

/// @return false when there is nothing of that name
bool measure(const std::filesystem::path& path, struct statvfs& volume) {
    while (::statvfs(path.c_str(), &volume) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return false;
        }
        if (errno != EINTR) {
            throw FileError("measure the disk of", path, errno);
        }
    }
    return true;
}

} // namespace

int MachineFacts::processorCount() {
    return int(::sysconf(_SC_NPROCESSORS_ONLN));
}

std::uint64_t MachineFacts::physicalMemoryBytes() {
    const std::uint64_t usable =
        std::uint64_t(::sysconf(_SC_PHYS_PAGES)) * std::uint64_t(::sysconf(_SC_PAGESIZE));
    return std::max(usable, listedMemoryBytes());
}

std::optional<std::int64_t> MachineFacts::availableDiskBytes(const std::filesystem::path& path) {
    std::filesystem::path nearest = path;
    struct statvfs volume {};
    while (!measure(nearest, volume)) {
        const std::filesystem::path parent = nearest.has_parent_path() ? nearest.parent_path() : ".";
        if (nearest.empty() || nearest == parent) {
            throw FileError("measure the disk of", path, ENOENT);
        }
        nearest = parent;
    }
    if (volume.f_blocks == 0) {
        return std::nullopt;
    }
    constexpr auto most = std::uint64_t(std::numeric_limits<std::int64_t>::max());
    const std::uint64_t fragment = std::max<std::uint64_t>(volume.f_frsize, 1);
    return std::int64_t(std::min<std::uint64_t>(volume.f_bavail, most / fragment) * fragment);
}

} // namespace tavrin
