#include "TavrinKit/Imaging/ImageRenderer.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <deque>
#include <map>
#include <stdexcept>

#include "TavrinKit/Imaging/Evaluator.h"
#include "TavrinKit/Imaging/TileMap.h"

namespace tavrin {

using namespace imaging;

namespace {

/// How many target buffers are remembered: more than any ring of frames holds.
constexpr std::size_t rememberedTargets = 12;

/// A plane or planes of the target that are evaluated together.
struct Pass {
    Basis basis;
    Lattice lattice;
    int divisor; ///< luma pixels to one sample
};

/// A target that was drawn into, and what it shows.
struct DrawnTarget {
    PixelBuffer buffer;
    TileMap map;
};

Block tileBlock(const TileMap& map, int tile, const Pass& pass) {
    const int column = tile % map.columns * TileMap::tileWidth / pass.divisor;
    const int row = tile / map.columns * TileMap::tileHeight / pass.divisor;
    return {column, row, std::min(column + TileMap::tileWidth / pass.divisor, pass.lattice.columns),
            std::min(row + TileMap::tileHeight / pass.divisor, pass.lattice.rows)};
}

void copyTile(const TileMap& map, int tile, const PixelBuffer& from, const PixelBuffer& to) {
    for (int plane = 0; plane < to.planeCount(); ++plane) {
        const PixelBuffer::Plane& p = to.plane(plane);
        const Pass pass{Basis::rgba, {0, 0, 1, p.width, p.height, {}}, plane == 0 ? 1 : 2};
        const Block block = tileBlock(map, tile, pass);
        const int bytes = to.format() == PixelFormat::bgra8 ? 4 : 1;
        for (int row = block.row0; row < block.row1; ++row) {
            std::memcpy(to.row(plane, row) + block.column0 * bytes,
                        from.row(plane, row) + block.column0 * bytes,
                        std::size_t(block.columns()) * std::size_t(bytes));
        }
    }
}

/// The lowest layers, up to the first that moves, drawn once and kept as floats.
struct Backdrop {
    std::uint64_t hash = 0;
    std::size_t layers = 0;
    bool isKept = false; ///< false while it was seen only once
    struct Planes {
        std::array<std::vector<float>, 4> data; ///< the colours, then alpha
        std::vector<std::atomic<bool>> isDrawn; ///< by tile
    };
    std::array<Planes, 3> byBasis;
};

} // namespace

struct ImageRenderer::Implementation {
    explicit Implementation(const Options& options) : evaluator(options.threads, options.cacheBytes) {}

    Evaluator evaluator;
    Backdrop backdrop;
    std::deque<DrawnTarget> targets; ///< the last one first
    Statistics statistics;

    void render(const Image& image, const PixelBuffer& target, Vec2 origin);
    std::vector<int> tilesToDraw(const TileMap& map, const PixelBuffer& target);
    void meetBackdrop(const Program& program, const PixelBuffer& target);
    void draw(const Pass& pass, const Program& program, const TileMap& map, const std::vector<int>& tiles,
              const PixelBuffer& target);
    void paintTile(TilePainter& painter, const Pass& pass, const std::vector<PreparedLayer>& layers,
                   const TileMap& map, int tile, const FloatBlock& out);
    bool restoreBackdrop(const Pass& pass, int tile, const Block& block, const FloatBlock& out, bool restore);
};

namespace {

/// Which layers any of the tiles shows.
std::vector<bool> usedLayers(const Program& program, const TileMap& map, const std::vector<int>& tiles) {
    std::vector<bool> used(program.size(), false);
    for (const int tile : tiles) {
        std::fill(used.begin() + map.firstLayer[std::size_t(tile)], used.end(), true);
    }
    return used;
}

std::vector<Pass> passesFor(const PixelBuffer& target, Vec2 origin) {
    if (target.format() == PixelFormat::bgra8) {
        return {{Basis::rgba, Lattice::full(origin, target.size()), 1}};
    }
    return {{Basis::luma, Lattice::full(origin, target.size()), 1},
            {Basis::chroma, Lattice::chroma(origin, target.size()), 2}};
}

void storePlane(const Kernels& kernels, const float* source, std::ptrdiff_t stride, const Block& block,
                const PixelBuffer& target, int plane) {
    for (int r = 0; r < block.rows(); ++r) {
        kernels.narrow(source + r * stride, block.columns(),
                       target.row(plane, block.row0 + r) + block.column0);
    }
}

void storeBGRA(const FloatBlock& tile, const Block& block, const PixelBuffer& target) {
    const auto byte = [](float v) {
        return std::uint8_t(std::clamp(v + 0.5F, 0.0F, 255.0F));
    };
    for (int r = 0; r < block.rows(); ++r) {
        std::uint8_t* to = target.row(0, block.row0 + r) + std::ptrdiff_t(block.column0) * 4;
        const std::ptrdiff_t row = r * tile.stride;
        for (int c = 0; c < block.columns(); ++c) {
            const std::uint8_t alpha = byte(tile.alpha[row + c] * 255);
            to[4 * c] = std::min(byte(tile.color[2][row + c]), alpha);
            to[4 * c + 1] = std::min(byte(tile.color[1][row + c]), alpha);
            to[4 * c + 2] = std::min(byte(tile.color[0][row + c]), alpha);
            to[4 * c + 3] = alpha;
        }
    }
}

} // namespace

ImageRenderer::ImageRenderer(Options options) : implementation_(std::make_unique<Implementation>(options)) {}

ImageRenderer::~ImageRenderer() = default;

void ImageRenderer::render(const Image& image, const PixelBuffer& target, Vec2 origin) {
    implementation_->render(image, target, origin);
}

PixelBuffer ImageRenderer::render(const Image& image, const Rect& rect, PixelFormat format) {
    if (rect.isNull() || rect.isInfinite() || !std::isfinite(rect.width) || !std::isfinite(rect.height)) {
        throw std::invalid_argument("Only a finite part of an image can be drawn.");
    }
    const PixelSize size{std::max(1, int(std::ceil(rect.width))), std::max(1, int(std::ceil(rect.height)))};
    const PixelBuffer target = PixelBuffer::allocate(format, size);
    render(image, target, {rect.minX(), rect.minY()});
    return target;
}

ImageRenderer::Statistics ImageRenderer::statistics() const {
    Statistics statistics = implementation_->statistics;
    statistics.cacheBytes = std::int64_t(implementation_->evaluator.cacheBytes());
    return statistics;
}

void ImageRenderer::Implementation::render(const Image& image, const PixelBuffer& target, Vec2 origin) {
    const PixelSize size = target.size();
    const Program program = flatten(image, {origin.x, origin.y, double(size.width), double(size.height)});
    TileMap map = mapTiles(program, origin, size);
    const std::vector<int> tiles = tilesToDraw(map, target);
    meetBackdrop(program, target);
    if (!tiles.empty()) {
        for (const Pass& pass : passesFor(target, origin)) {
            draw(pass, program, map, tiles, target);
        }
    }
    statistics.tilesDrawn += std::int64_t(tiles.size());
    statistics.tilesReused += map.count() - std::int64_t(tiles.size());

    std::erase_if(targets,
                  [&](const DrawnTarget& drawn) { return drawn.buffer.identity() == target.identity(); });
    targets.push_front({target, std::move(map)});
    if (targets.size() > rememberedTargets) {
        targets.pop_back();
    }
    evaluator.finishPicture();
}

/// Leaves the tiles that the target already shows and copies those that the last target shows.
std::vector<int> ImageRenderer::Implementation::tilesToDraw(const TileMap& map, const PixelBuffer& target) {
    const auto same = [&](const DrawnTarget& drawn) {
        return drawn.map.size == map.size && drawn.buffer.format() == target.format();
    };
    const auto own = std::find_if(targets.begin(), targets.end(), [&](const DrawnTarget& drawn) {
        return drawn.buffer.identity() == target.identity() && same(drawn);
    });
    const bool hasOwn = own != targets.end();
    const bool hasLast = !targets.empty() && same(targets.front());
    std::vector<int> tiles;
    for (int tile = 0; tile < map.count(); ++tile) {
        const std::uint64_t key = map.keys[std::size_t(tile)];
        if (hasOwn && own->map.keys[std::size_t(tile)] == key) {
            continue;
        }
        if (hasLast && targets.front().map.keys[std::size_t(tile)] == key) {
            copyTile(map, tile, targets.front().buffer, target);
            continue;
        }
        tiles.push_back(tile);
    }
    return tiles;
}

/// Notices when the lowest layers are the same as in the last picture: from then on they are kept.
void ImageRenderer::Implementation::meetBackdrop(const Program& program, const PixelBuffer& target) {
    std::size_t layers = 0;
    std::uint64_t hash = mix(std::uint64_t(target.format()), std::uint64_t(target.size().width));
    hash = mix(hash, std::uint64_t(target.size().height));
    while (layers < program.size() && !program[layers].isMovie) {
        hash = mix(hash, program[layers].hash);
        ++layers;
    }
    const bool known = layers > 0 && layers < program.size() && hash == backdrop.hash;
    if (known && backdrop.isKept) {
        return;
    }
    for (Backdrop::Planes& planes : backdrop.byBasis) {
        planes = {};
    }
    backdrop.hash = hash;
    backdrop.layers = layers;
    backdrop.isKept = known;
}

void ImageRenderer::Implementation::draw(const Pass& pass, const Program& program, const TileMap& map,
                                         const std::vector<int>& tiles, const PixelBuffer& target) {
    const std::vector<bool> used = usedLayers(program, map, tiles);
    const auto layers =
        evaluator.prepare(program, pass.basis, pass.lattice, [&](std::size_t i) { return used[i]; });
    if (backdrop.isKept) {
        Backdrop::Planes& kept = backdrop.byBasis[std::size_t(pass.basis)];
        if (kept.isDrawn.empty()) {
            const auto count = std::size_t(pass.lattice.columns) * std::size_t(pass.lattice.rows);
            for (int k = 0; k < colorCount(pass.basis); ++k) {
                kept.data[std::size_t(k)].resize(count);
            }
            if (pass.basis == Basis::rgba) {
                kept.data[3].resize(count);
            }
            kept.isDrawn = std::vector<std::atomic<bool>>(std::size_t(map.count()));
        }
    }
    evaluator.forBlocks(int(tiles.size()), [&](TilePainter& painter, int i) {
        constexpr std::ptrdiff_t stride = TileMap::tileWidth;
        alignas(64) thread_local std::array<std::array<float, std::size_t(stride * TileMap::tileHeight)>, 4>
            memory;
        FloatBlock out{{memory[0].data(), memory[1].data(), memory[2].data()}, nullptr, stride};
        if (pass.basis == Basis::rgba) {
            out.alpha = memory[3].data();
        }
        const int tile = tiles[std::size_t(i)];
        paintTile(painter, pass, layers, map, tile, out);

        const Block block = tileBlock(map, tile, pass);
        if (pass.basis == Basis::rgba) {
            storeBGRA(out, block, target);
        } else if (pass.basis == Basis::luma) {
            storePlane(vectorKernels(), out.color[0], stride, block, target, 0);
        } else {
            storePlane(vectorKernels(), out.color[0], stride, block, target, 1);
            storePlane(vectorKernels(), out.color[1], stride, block, target, 2);
        }
    });
}

void ImageRenderer::Implementation::paintTile(TilePainter& painter, const Pass& pass,
                                              const std::vector<PreparedLayer>& layers, const TileMap& map,
                                              int tile, const FloatBlock& out) {
    const Block block = tileBlock(map, tile, pass);
    std::size_t layer = map.firstLayer[std::size_t(tile)];
    const bool onBackdrop = backdrop.isKept && layer < backdrop.layers;
    if (onBackdrop && restoreBackdrop(pass, tile, block, out, true)) {
        layer = backdrop.layers;
    } else if (map.isHidden[std::size_t(tile)] == 0) {
        painter.clear(pass.basis, block, out);
    }
    for (; layer < layers.size(); ++layer) {
        if (onBackdrop && layer == backdrop.layers) {
            restoreBackdrop(pass, tile, block, out, false);
        }
        painter.paint(pass.basis, pass.lattice, layers[layer], block, map.area(tile), out);
    }
}

/// Copies a tile out of the kept backdrop, or into it.
/// @return whether the backdrop has the tile
bool ImageRenderer::Implementation::restoreBackdrop(const Pass& pass, int tile, const Block& block,
                                                    const FloatBlock& out, bool restore) {
    Backdrop::Planes& kept = backdrop.byBasis[std::size_t(pass.basis)];
    std::atomic<bool>& isDrawn = kept.isDrawn[std::size_t(tile)];
    if (restore != isDrawn.load()) {
        return isDrawn.load();
    }
    for (std::size_t k = 0; k < 4; ++k) {
        float* inTile = k < 3 ? out.color[k] : out.alpha;
        if (kept.data[k].empty() || inTile == nullptr) {
            continue;
        }
        for (int r = 0; r < block.rows(); ++r) {
            float* inBackdrop =
                &kept.data[k][std::size_t(block.row0 + r) * std::size_t(pass.lattice.columns) +
                              std::size_t(block.column0)];
            float* row = inTile + r * out.stride;
            std::memcpy(restore ? row : inBackdrop, restore ? inBackdrop : row,
                        std::size_t(block.columns()) * sizeof(float));
        }
    }
    isDrawn = true;
    return true;
}

} // namespace tavrin
