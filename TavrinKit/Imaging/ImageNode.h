#pragma once

#include <variant>

#include "TavrinKit/Imaging/FrameSequence.h"
#include "TavrinKit/Imaging/Image.h"

namespace tavrin {

/// One step of a recipe. `hash` tells recipes apart by structure and by the identity of their pixels: equal
/// hashes mean equal pictures.
struct Image::Node {
    struct Empty {};
    struct Pixels {
        PixelBuffer buffer;
        std::shared_ptr<const BlockVersions> versions; ///< absent: the whole buffer is one block
    };
    struct Solid {
        Color color;
    };
    struct LinearGradient {
        Vec2 p0;
        Color c0;
        Vec2 p1;
        Color c1;
    };
    struct RadialGradient {
        Vec2 center;
        double radius0;
        Color c0;
        double radius1;
        Color c1;
    };
    struct RoundedRectangle {
        Rect rect;
        double radius;
        Color color;
    };
    struct Transform {
        Image image;
        AffineTransform transform;
    };
    struct Crop {
        Image image;
        Rect rect;
    };
    struct Clamp {
        Image image;
    };
    struct Over {
        Image top;
        Image bottom;
    };
    struct Mean {
        std::vector<WeightedImage> terms; ///< at least two different ones; the weights' sum is 1
    };
    struct Matrix {
        Image image;
        ColorMatrix matrix;
    };
    struct Blur {
        Image image;
        double radius;
    };
    struct Mask {
        Image image;
        Image background;
        Image mask;
    };
    using Operation = std::variant<Empty, Pixels, Solid, LinearGradient, RadialGradient, RoundedRectangle,
                                   Transform, Crop, Clamp, Over, Mean, Matrix, Blur, Mask>;

    Operation operation;
    Rect extent;
    std::uint64_t hash = 0;
    bool isOpaque = false;
};

namespace imaging {

/// Pixels with their lower left corner at the origin; nothing for an empty buffer.
/// @param versions  which of the buffer's blocks are those of an earlier one; null when nobody knows
[[nodiscard]] Image pixelsImage(const PixelBuffer& buffer, std::shared_ptr<const BlockVersions> versions);

/// Folds one more value into a 64-bit hash.
[[nodiscard]] std::uint64_t mix(std::uint64_t hash, std::uint64_t value);
[[nodiscard]] std::uint64_t mix(std::uint64_t hash, double value);
[[nodiscard]] std::uint64_t mix(std::uint64_t hash, const Rect& rect);
[[nodiscard]] std::uint64_t mix(std::uint64_t hash, const Color& color);

} // namespace imaging
} // namespace tavrin
