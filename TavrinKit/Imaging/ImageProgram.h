#pragma once

#include <optional>
#include <variant>
#include <vector>

#include "TavrinKit/Imaging/ImageNode.h"

namespace tavrin::imaging {

/// x_out = scale · x + offset on each axis.
struct Placement {
    double scaleX = 1;
    double scaleY = 1;
    double offsetX = 0;
    double offsetY = 0;

    friend bool operator==(const Placement&, const Placement&) = default;

    [[nodiscard]] double leafX(double x) const { return (x - offsetX) / scaleX; }
    [[nodiscard]] double leafY(double y) const { return (y - offsetY) / scaleY; }
    [[nodiscard]] Rect apply(const Rect& r) const {
        return AffineTransform{scaleX, 0, 0, scaleY, offsetX, offsetY}.apply(r);
    }
};

/// A rounded rectangle that a layer is seen through, in the program's space.
struct RoundedMask {
    Rect rect;
    double radiusX = 0;
    double radiusY = 0;
    bool beneathClamp = false; ///< looked at where the clamped point lies
};

/// A subtree that has to be drawn on a lattice of its own before it can be used: a blur, a general colour
/// matrix, a sum. Its pixels lie on whole coordinates of the node's space.
struct Realised {
    Image image;
    Rect region;           ///< the part that is needed, whole pixels
    std::uint64_t key = 0; ///< of the pixels that it will have: two recipes for the same picture share it
};

/// Movie pictures that are mixed before anything is done with them. Each keeps the place and the clamping
/// rectangle that it has in the program's space; whatever else there is belongs to the layer.
struct Mean {
    struct Term {
        Image::Node::Pixels pixels; ///< opaque
        Placement placement;
        std::optional<Rect> clamp;
        double weight = 0;      ///< the sum of all is 1
        std::uint64_t hash = 0; ///< of the layer as it would be with this term alone
    };
    std::vector<Term> terms;
};

/// One picture of the stack that a recipe comes down to.
///
/// Whatever transforms, crops and clamps stood above the leaf are folded into one placement, one
/// clamping rectangle and two clips. At a point p of the program's space, with p' = p held to `clamp`, the
/// layer shows leaf(placement⁻¹ p'), seen through `clip` and the masks at p, and through `innerClip` and the
/// masks beneath the clamp at p'. The terms of a mean do so each by itself, but for the clips and masks.
struct Layer {
    using Leaf = std::variant<Image::Node::Pixels, Image::Node::Solid, Image::Node::LinearGradient,
                              Image::Node::RadialGradient, Realised, Mean>;
    Leaf leaf;
    Placement placement;
    Rect clip = Rect::infinite();
    std::optional<Rect> clamp;
    Rect innerClip = Rect::infinite();
    std::vector<RoundedMask> masks;
    double opacity = 1;
    std::optional<Color> tint; ///< replaces the leaf's colour, keeps its alpha; its own alpha is not used

    bool isOpaque = false;  ///< the leaf has no transparency and nothing thins it but clips and masks
    bool isMovie = false;   ///< pixels that are expected to change from picture to picture
    std::uint64_t hash = 0; ///< of everything above, except for which pixels a movie shows now
};

/// A recipe as a stack of layers, the lowest first.
using Program = std::vector<Layer>;

/// A mean's layer as it would be with that term alone.
[[nodiscard]] Layer layerOfTerm(const Layer& mean, const Mean::Term& term);

/// Brings a recipe into the form in which it is evaluated.
/// @param region  what will be asked of it; what lies outside may be left out
[[nodiscard]] Program flatten(const Image& image, const Rect& region);

} // namespace tavrin::imaging
