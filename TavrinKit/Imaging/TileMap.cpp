#include "TavrinKit/Imaging/TileMap.h"

#include <algorithm>
#include <cmath>

namespace tavrin::imaging {
namespace {

using Node = Image::Node;

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

/// The versions of all blocks of the movie from which the area is drawn.
std::uint64_t movieKey(const Layer& layer, const Rect& area) {
    const auto& pixels = std::get<Node::Pixels>(layer.leaf);
    Rect seen = area.intersection(layer.clip);
    if (layer.clamp) {
        const Rect& c = *layer.clamp;
        const auto x = [&](double v) {
            return std::clamp(v, c.minX(), c.maxX());
        };
        const auto y = [&](double v) {
            return std::clamp(v, c.minY(), c.maxY());
        };
        seen = {x(seen.minX()), y(seen.minY()), x(seen.maxX()) - x(seen.minX()),
                y(seen.maxY()) - y(seen.minY())};
    }
    const Placement& p = layer.placement;
    // The reach of the kernel, in the movie's luma pixels; chroma counts double.
    const double reachX = 4 * std::max(1.0, 1 / std::abs(p.scaleX)) + 2;
    const double reachY = 4 * std::max(1.0, 1 / std::abs(p.scaleY)) + 2;
    const double x0 = p.leafX(seen.minX());
    const double x1 = p.leafX(seen.maxX());
    const double y0 = pixels.buffer.size().height - p.leafY(seen.minY());
    const double y1 = pixels.buffer.size().height - p.leafY(seen.maxY());

    const BlockVersions& blocks = *pixels.versions;
    const auto block = [](double v, int count) {
        return std::clamp(int(std::floor(v / BlockVersions::blockSize)), 0, count - 1);
    };
    std::uint64_t key = 0;
    for (int row = block(std::min(y0, y1) - reachY, blocks.rows);
         row <= block(std::max(y0, y1) + reachY, blocks.rows); ++row) {
        for (int column = block(std::min(x0, x1) - reachX, blocks.columns);
             column <= block(std::max(x0, x1) + reachX, blocks.columns); ++column) {
            key = mix(key, blocks.versions[std::size_t(row * blocks.columns + column)]);
        }
    }
    return key;
}

} // namespace

TileMap mapTiles(const Program& program, Vec2 origin, PixelSize size) {
    TileMap map;
    map.size = size;
    map.columns = (size.width + TileMap::tileWidth - 1) / TileMap::tileWidth;
    map.rows = (size.height + TileMap::tileHeight - 1) / TileMap::tileHeight;
    for (int row = 0; row < map.rows; ++row) {
        for (int column = 0; column < map.columns; ++column) {
            const Rect tile{origin.x + column * TileMap::tileWidth,
                            origin.y + size.height - (row + 1) * TileMap::tileHeight, TileMap::tileWidth,
                            TileMap::tileHeight};
            const Rect area = tile.inset(-margin, -margin);
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
                key = mix(key, layer.hash);
                if (layer.isMovie) {
                    key = mix(key, movieKey(layer, area));
                }
            }
            map.keys.push_back(key);
            map.firstLayer.push_back(std::uint16_t(first));
            map.isHidden.push_back(isHidden ? 1 : 0);
        }
    }
    return map;
}

} // namespace tavrin::imaging
