#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// A colour as it is stored: not linear light, not premultiplied, each component in 0...1.
struct Color {
    double r = 0;
    double g = 0;
    double b = 0;
    double a = 1;

    friend bool operator==(const Color&, const Color&) = default;
};

/// A linear map of premultiplied colour, row by row: r' = dot(r, {r, g, b, a}) + bias[0] · a', and so on.
///
/// The bias is applied to straight colour: a veil or tint is not brighter where the picture is thin.
struct ColorMatrix {
    std::array<double, 4> r{1, 0, 0, 0};
    std::array<double, 4> g{0, 1, 0, 0};
    std::array<double, 4> b{0, 0, 1, 0};
    std::array<double, 4> a{0, 0, 0, 1};
    std::array<double, 3> bias{0, 0, 0};

    /// Scales all four channels alike.
    [[nodiscard]] static ColorMatrix opacity(double k);
    /// Black with the alpha of the picture times `k`: what shadows are made of.
    [[nodiscard]] static ColorMatrix shadow(double k);
    /// White with the alpha of the picture times `k`.
    [[nodiscard]] static ColorMatrix veil(double k);

    friend bool operator==(const ColorMatrix&, const ColorMatrix&) = default;
};

struct WeightedImage;

/// A picture that has not been drawn yet: an immutable, cheaply copied recipe with an extent.
///
/// It holds either an operation over other images or pixels. Operations only build a larger recipe; pixels
/// come into being when an ImageRenderer evaluates one. Space: pixels, x rightward, y upward. Outside its
/// extent an image is transparent. Colours are blended as stored, premultiplied. Any thread.
class Image {
public:
    /// Transparent, with a null extent.
    Image();

    /// Pixels with their lower left corner at the origin. Rows of the buffer run downward; they are turned
    /// over here and nowhere else.
    [[nodiscard]] static Image pixels(const PixelBuffer& buffer);

    /// An infinite plane of one colour.
    [[nodiscard]] static Image color(const Color& color);

    /// Infinite; the colour changes evenly from `p0` to `p1` and stays beyond them.
    [[nodiscard]] static Image linearGradient(Vec2 p0, const Color& c0, Vec2 p1, const Color& c1);

    /// Infinite; `c0` up to `radius0` from the centre, `c1` from `radius1` on. Interpolated premultiplied.
    [[nodiscard]] static Image radialGradient(Vec2 center, double radius0, const Color& c0, double radius1,
                                              const Color& c1);

    /// A filled rectangle with round corners and antialiased edges; its extent is the rectangle.
    /// @param radius  held to half of the shorter side
    [[nodiscard]] static Image roundedRectangle(const Rect& rect, double radius, const Color& color);

    /// The weighted mean, channel by channel; the extent is the union. Movie pictures that differ in what
    /// they show or in where they are placed are mixed in one step and without loss of bits; where they show
    /// the same they cost as much as one of them.
    /// @param terms  weights count relative to their sum; terms of one picture are taken together, and when
    ///               there is no other that picture is the answer itself
    /// @throws std::invalid_argument for a weight that is not positive and finite
    [[nodiscard]] static Image mean(const std::vector<WeightedImage>& terms);

    [[nodiscard]] const Rect& extent() const;
    [[nodiscard]] bool isEmpty() const;
    /// Surely without transparency anywhere in its extent.
    [[nodiscard]] bool isOpaque() const;

    /// The edge pixels carried on to infinity.
    [[nodiscard]] Image clampedToExtent() const;
    /// @param transform  axis-aligned: scales, mirrorings and translations
    /// @throws std::invalid_argument for one that turns or shears, or that is not invertible
    [[nodiscard]] Image transformed(const AffineTransform& transform) const;
    [[nodiscard]] Image translated(double x, double y) const;
    [[nodiscard]] Image cropped(const Rect& rect) const;
    /// Source-over: this image over `background`. The extent is the union. An opaque image that leaves
    /// nothing of the background to be seen is the answer itself.
    [[nodiscard]] Image over(const Image& background) const;
    [[nodiscard]] Image colorMatrix(const ColorMatrix& matrix) const;
    /// @param radius  the Gaussian's standard deviation in pixels; the extent grows by three of them
    [[nodiscard]] Image blurred(double radius) const;
    /// This image where the mask is opaque, `background` where it is transparent, by the mask's alpha.
    [[nodiscard]] Image blendedWithMask(const Image& background, const Image& mask) const;

    struct Node;
    [[nodiscard]] const std::shared_ptr<const Node>& node() const { return node_; }
    explicit Image(std::shared_ptr<const Node> node);

private:
    std::shared_ptr<const Node> node_;
};

struct WeightedImage {
    Image image;
    double weight = 1;
};

} // namespace tavrin
