#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>

#include "TavrinKit/Media/MediaError.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// What a picture file may cost.
struct StillImageLimits {
    std::size_t fileSize = std::size_t(256) << 20; ///< bytes
    std::int64_t pixels = std::int64_t(128) << 20; ///< a picture that claims more is not decoded
    int longerSide = 8192;                         ///< a larger picture is shrunk to this while it is read
};

/// Reads a picture file of any still format that FFmpeg knows (PNG, JPEG, WebP, TIFF, BMP, the first picture
/// of a GIF, …), by its contents and whatever its name, in display orientation. Any thread.
///
/// Only the file itself is read: nothing that it refers to.
///
/// @return bgra8, premultiplied
/// @throws FileError
/// @throws MediaError (unreadable, decodingFailed)
[[nodiscard]] PixelBuffer readStillImage(const std::filesystem::path& path,
                                         const StillImageLimits& limits = {});

} // namespace tavrin
