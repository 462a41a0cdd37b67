#include "TavrinKit/Project/CursorAppearance.h"

namespace tavrin {

CursorAppearance::CursorAppearance() {
    static const auto nothing = std::make_shared<const Data>();
    data_ = nothing;
}

CursorAppearance::CursorAppearance(std::string identifier, Bytes pngData, Vec2 hotSpot, Vec2 pixelSize)
    : data_(
          std::make_shared<const Data>(Data{std::move(identifier), std::move(pngData), hotSpot, pixelSize})) {
}

bool CursorAppearance::isFinite() const {
    return !identifier().empty() && !pngData().empty() && hotSpot().isFinite() && pixelSize().isFinite() &&
           pixelSize().x > 0 && pixelSize().y > 0;
}

} // namespace tavrin
