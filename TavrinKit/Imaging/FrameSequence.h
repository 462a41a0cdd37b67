#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

class Image;

/// Which parts of a picture are the same as in an earlier one: a grid of blocks, each with a number that
/// changes only when its pixels do.
struct BlockVersions {
    static constexpr int blockSize = 64; ///< luma pixels

    int columns = 0;
    int rows = 0;                        ///< downward, as the buffer's rows
    std::vector<std::uint64_t> versions; ///< row by row
};

/// Turns the successive pictures of a movie into images that remember what changed between them, so that an
/// ImageRenderer draws again only what did.
///
/// Keeps the last picture. One thread at a time; the images are free to go anywhere.
class FrameSequence {
public:
    /// @param buffer  a picture of any size and format; the same buffer again costs nothing
    [[nodiscard]] Image image(const PixelBuffer& buffer);

private:
    PixelBuffer last_;
    std::shared_ptr<const BlockVersions> lastVersions_;
};

} // namespace tavrin
