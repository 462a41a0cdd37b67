#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "TavrinKit/Imaging/Image.h"

namespace tavrin {

/// Turns image recipes into pixels.
///
/// Evaluation goes by tiles over several threads and gives the same bits whatever their number. What an
/// earlier picture of this renderer already computed and is still the same (backgrounds, shadows, sprites,
/// whole tiles) is taken from there. Keep one renderer for a run of similar pictures. One thread at a time.
class ImageRenderer {
public:
    struct Options {
        int threads = 0;                                 ///< 0: one per core
        std::size_t cacheBytes = std::size_t(192) << 20; ///< for what is kept between pictures
    };

    struct Statistics {
        std::int64_t tilesDrawn = 0;
        std::int64_t tilesReused = 0; ///< were the same in an earlier picture
        std::int64_t cacheBytes = 0;
    };

    explicit ImageRenderer(Options options);
    ImageRenderer() : ImageRenderer(Options{}) {}
    ~ImageRenderer();
    ImageRenderer(const ImageRenderer&) = delete;
    ImageRenderer& operator=(const ImageRenderer&) = delete;

    /// Draws the part of `image` whose lower left corner is `origin` into all of `target`, over black for
    /// i420, over transparent for bgra8.
    ///
    /// A target buffer that was drawn into before and not been written by anybody else since is only
    /// brought up to date.
    void render(const Image& image, const PixelBuffer& target, Vec2 origin = {});

    /// A new bgra8 or i420 picture of the rectangle, which must be finite; its size is rounded up.
    [[nodiscard]] PixelBuffer render(const Image& image, const Rect& rect,
                                     PixelFormat format = PixelFormat::bgra8);

    [[nodiscard]] Statistics statistics() const;

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

/// Evaluates a recipe in double precision, pixel by pixel, the plain way: what the renderer must equal.
/// Very slow.
///
/// @return premultiplied r, g, b, a of each pixel of the rectangle, rows downward
[[nodiscard]] std::vector<std::array<float, 4>> renderReference(const Image& image, const Rect& rect);

} // namespace tavrin
