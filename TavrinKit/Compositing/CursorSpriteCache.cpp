#include "TavrinKit/Compositing/CursorSpriteCache.h"

#include <cmath>

namespace tavrin {

CursorSpriteCache& CursorSpriteCache::shared() {
    static CursorSpriteCache cache;
    return cache;
}

std::optional<Image> CursorSpriteCache::sprite(const std::string& identifier, double scale,
                                               const Renderer& render) {
    using Sprites = std::map<CursorSpriteCacheKey, Image>;
    const CursorSpriteCacheKey key{identifier, int(std::lround(scale * 100))};
    const auto find = [&](const Sprites& sprites) {
        const auto found = sprites.find(key);
        return found == sprites.end() ? std::nullopt : std::optional(found->second);
    };
    if (auto kept = sprites_.with(find)) {
        return kept;
    }
    auto made = render(key.quantizedScale / 100.0);
    if (!made) {
        return {};
    }
    return sprites_.with([&](Sprites& sprites) -> std::optional<Image> {
        if (auto kept = find(sprites)) {
            return kept;
        }
        if (sprites.size() >= capacity) {
            sprites.clear();
        }
        sprites.emplace(key, *made);
        return made;
    });
}

std::size_t CursorSpriteCache::size() const {
    return sprites_.with([](const auto& sprites) { return sprites.size(); });
}

} // namespace tavrin
