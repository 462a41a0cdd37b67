#pragma once

#include <memory>
#include <string>

#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

/// How the pointer looked: an image, and the pixel of it that points.
///
/// An immutable value that costs a pointer to copy. A take has hundreds of thousands of cursor states and a
/// handful of images; whoever makes the states makes each appearance once and copies it, and a timeline read
/// from a file shares equal ones again.
class CursorAppearance {
public:
    /// Nothing: empty, and not finite.
    CursorAppearance();

    /// @param identifier  the same for equal images; of what form is up to the recorder
    /// @param pngData     the image as a PNG file
    /// @param hotSpot     the pixel that points: from the image's lower left corner, y upward as all places
    /// @param pixelSize   width in x, height in y
    CursorAppearance(std::string identifier, Bytes pngData, Vec2 hotSpot, Vec2 pixelSize);

    [[nodiscard]] const std::string& identifier() const { return data_->identifier; }
    [[nodiscard]] const Bytes& pngData() const { return data_->pngData; }
    [[nodiscard]] Vec2 hotSpot() const { return data_->hotSpot; }
    [[nodiscard]] Vec2 pixelSize() const { return data_->pixelSize; }

    /// Whether it can be drawn: identifier and image are there, all numbers finite, the size positive.
    [[nodiscard]] bool isFinite() const;

    /// Whether both are copies of one appearance: a quick test that may miss equal ones.
    [[nodiscard]] bool sharesDataWith(const CursorAppearance& other) const { return data_ == other.data_; }

    friend bool operator==(const CursorAppearance& a, const CursorAppearance& b) {
        return a.data_ == b.data_ || *a.data_ == *b.data_;
    }

private:
    struct Data {
        std::string identifier;
        Bytes pngData;
        Vec2 hotSpot;
        Vec2 pixelSize;

        friend bool operator==(const Data&, const Data&) = default;
    };

    std::shared_ptr<const Data> data_;
};

} // namespace tavrin
