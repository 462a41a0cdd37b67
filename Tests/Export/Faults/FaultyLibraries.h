#pragma once

#include <cstddef>

namespace tavrin::test {

/// How a call into FFmpeg, or for the memory of a picture, goes wrong.
enum class LibraryFault {
    refuse, ///< it gives what it gives when memory runs out, or when an encoder breaks down
    raise,  ///< an exception comes out of it; only calls into the codecs and for packets count
};

/// Lets the n-th of these calls go wrong from now on in this process, counted from 1. All threads count.
void armLibraryFault(std::size_t at, LibraryFault fault);

/// How many there were since then.
[[nodiscard]] std::size_t libraryCalls();

} // namespace tavrin::test
