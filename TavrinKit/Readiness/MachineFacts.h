#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace tavrin {

/// What the operating system tells of the machine. Any thread.
namespace MachineFacts {

[[nodiscard]] int processorCount();

/// The memory that is built in. What the kernel sets aside for itself counts too: else a machine with 16 GiB
/// would pass for one with 15.
[[nodiscard]] std::uint64_t physicalMemoryBytes();

/// What an ordinary user may still write to the file system that `path` lies on; of a path that doesn't
/// exist, its nearest existing parent says it. May hang when the file system does.
/// @return nothing for a file system without a size, like /proc
/// @throws FileError
[[nodiscard]] std::optional<std::int64_t> availableDiskBytes(const std::filesystem::path& path);

} // namespace MachineFacts
} // namespace tavrin
