#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include "TavrinKit/Imaging/Image.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// What a cursor sprite goes by: which cursor, and its scale in steps of 0.01.
struct CursorSpriteCacheKey {
    std::string identifier;
    int quantizedScale = 100; ///< round(scale × 100)

    friend auto operator<=>(const CursorSpriteCacheKey&, const CursorSpriteCacheKey&) = default;
};

/// The cursor images in use, each drawn once per scale step. Any thread.
///
/// It is dropped whole and not aged: a sprite that comes when it is full empties it first.
class CursorSpriteCache {
public:
    static constexpr std::size_t capacity = 72;

    /// Draws the sprite for a scale, which is a multiple of 0.01; nothing when it cannot be made.
    using Renderer = std::function<std::optional<Image>(double scale)>;

    /// The cache that all compositors of the process use.
    [[nodiscard]] static CursorSpriteCache& shared();

    /// The sprite from the cache, or from `render`, which is called without the lock: two threads that miss
    /// at once may both draw it. A sprite that could not be made is not remembered.
    [[nodiscard]] std::optional<Image> sprite(const std::string& identifier, double scale,
                                              const Renderer& render);

    [[nodiscard]] std::size_t size() const;

private:
    Guarded<std::map<CursorSpriteCacheKey, Image>> sprites_;
};

} // namespace tavrin
