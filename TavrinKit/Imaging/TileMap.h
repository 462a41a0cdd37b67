#pragma once

#include <cstdint>
#include <vector>

#include "TavrinKit/Imaging/ImageProgram.h"

namespace tavrin::imaging {

/// A picture cut into tiles, each with a key that tells what it shows.
///
/// Two tiles with equal keys hold the same pixels. The key is made of the layers that reach into the tile,
/// from the topmost one that hides all below it, and, for a movie, of the versions of the blocks beneath.
struct TileMap {
    static constexpr int tileWidth = 128; ///< pixels; even, so that chroma divides
    static constexpr int tileHeight = 64;

    Vec2 origin; ///< the lower left corner
    PixelSize size;
    int columns = 0;
    int rows = 0;
    std::vector<std::uint64_t> keys;       ///< row by row, downward
    std::vector<std::uint16_t> firstLayer; ///< the lowest layer that is seen in each tile
    std::vector<std::uint8_t> isHidden;    ///< nonzero where that layer fills the whole tile

    [[nodiscard]] int count() const { return columns * rows; }

    /// What can have a part in the tile's pixels: some more than the tile itself.
    [[nodiscard]] Rect area(int tile) const;
};

[[nodiscard]] TileMap mapTiles(const Program& program, Vec2 origin, PixelSize size);

} // namespace tavrin::imaging
