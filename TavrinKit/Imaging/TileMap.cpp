#include "TavrinKit/Imaging/TileMap.h"

#include <algorithm>

#include "TavrinKit/Imaging/MovieBlocks.h"

namespace tavrin::imaging {
namespace {

/// How far beyond its own pixels a tile looks, because chroma samples are two pixels wide.
constexpr double margin = 2;

bool hides(const Layer& layer, const Rect& area) {
    if (!layer.isOpaque || !layer.clip.contains(area) || !layer.innerClip.isInfinite()) {
        return false;
    }
    return std::all_of(layer.masks.begin(), layer.masks.end(), [&](const RoundedMask& mask) {
        const Rect& r = mask.rect;
        const bool inX = area.minX() >= r.minX() + mask.radiusX && area.maxX() <= r.maxX() - mask.radiusX;
        const bool inY = area.minY() >= r.minY() + mask.radiusY && area.maxY() <= r.maxY() - mask.radiusY;
        return !mask.beneathClamp && r.contains(area) && (inX || inY);
    });
}

} // namespace

Rect TileMap::area(int tile) const {
    const Rect pixels{origin.x + tile % columns * tileWidth,
                      origin.y + size.height - (tile / columns + 1) * tileHeight, tileWidth, tileHeight};
    return pixels.inset(-margin, -margin);
}

TileMap mapTiles(const Program& program, Vec2 origin, PixelSize size) {
    TileMap map;
    map.origin = origin;
    map.size = size;
    map.columns = (size.width + TileMap::tileWidth - 1) / TileMap::tileWidth;
    map.rows = (size.height + TileMap::tileHeight - 1) / TileMap::tileHeight;
    for (int row = 0; row < map.rows; ++row) {
        for (int column = 0; column < map.columns; ++column) {
            const Rect area = map.area(row * map.columns + column);
            const Rect picture{origin.x, origin.y, double(size.width), double(size.height)};
            const Rect hidden = area.intersection(picture);
            std::size_t first = 0;
            bool isHidden = false;
            for (std::size_t i = program.size(); i-- > 0;) {
                if (hides(program[i], hidden)) {
                    first = i;
                    isHidden = true;
                    break;
                }
            }
            std::uint64_t key = 1;
            for (std::size_t i = first; i < program.size(); ++i) {
                const Layer& layer = program[i];
                if (area.intersection(layer.clip).isEmpty()) {
                    continue;
                }
                key = mix(key, layer.isMovie ? movieKey(layer, area) : layer.hash);
            }
            map.keys.push_back(key);
            map.firstLayer.push_back(std::uint16_t(first));
            map.isHidden.push_back(isHidden ? 1 : 0);
        }
    }
    return map;
}

} // namespace tavrin::imaging
