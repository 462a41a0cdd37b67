#include "TavrinKit/Imaging/Image.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <stdexcept>

#include "TavrinKit/Imaging/ImageNode.h"

namespace tavrin {
namespace imaging {

std::uint64_t mix(std::uint64_t hash, std::uint64_t value) {
    // The finaliser of MurmurHash3 over a running sum: Appleby, public domain.
    std::uint64_t h = hash * 0x9e3779b97f4a7c15ULL + value + 0x7f4a7c15ULL;
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53ULL;
    h ^= h >> 33;
    return h;
}

std::uint64_t mix(std::uint64_t hash, double value) {
    return mix(hash, std::bit_cast<std::uint64_t>(value == 0 ? 0.0 : value));
}

std::uint64_t mix(std::uint64_t hash, const Rect& rect) {
    return mix(mix(mix(mix(hash, rect.x), rect.y), rect.width), rect.height);
}

std::uint64_t mix(std::uint64_t hash, const Color& color) {
    return mix(mix(mix(mix(hash, color.r), color.g), color.b), color.a);
}

} // namespace imaging

namespace {

using imaging::mix;
using Node = Image::Node;

/// Where the hashes of the kinds of node start.
enum Kind : std::uint64_t {
    empty,
    pixels,
    solid,
    linear,
    radial,
    rounded,
    transform,
    crop,
    clamp,
    over,
    matrix,
    blur,
    mask,
    mean
};

Image make(Node::Operation operation, const Rect& extent, std::uint64_t hash, bool isOpaque = false) {
    return Image(std::make_shared<Node>(Node{std::move(operation), extent, hash, isOpaque}));
}

/// With the weights of equal pictures added up, in the order in which they come first.
std::vector<WeightedImage> distinctTerms(const std::vector<WeightedImage>& terms) {
    std::vector<WeightedImage> distinct;
    for (const WeightedImage& term : terms) {
        const auto same = std::find_if(distinct.begin(), distinct.end(), [&](const WeightedImage& other) {
            return other.image.node()->hash == term.image.node()->hash;
        });
        if (same == distinct.end()) {
            distinct.push_back(term);
        } else {
            same->weight += term.weight;
        }
    }
    return distinct;
}

const std::shared_ptr<const Node>& emptyNode() {
    static const auto node = std::make_shared<const Node>(Node{Node::Empty{}, Rect::null(), 0});
    return node;
}

} // namespace

Image imaging::pixelsImage(const PixelBuffer& buffer, std::shared_ptr<const BlockVersions> versions) {
    if (buffer.isEmpty() || buffer.size().width <= 0 || buffer.size().height <= 0) {
        return {};
    }
    const Rect extent{0, 0, double(buffer.size().width), double(buffer.size().height)};
    return make(Node::Pixels{buffer, std::move(versions)}, extent, mix(Kind::pixels, buffer.identity()),
                buffer.format() == PixelFormat::i420);
}

ColorMatrix ColorMatrix::opacity(double k) {
    return {{k, 0, 0, 0}, {0, k, 0, 0}, {0, 0, k, 0}, {0, 0, 0, k}, {0, 0, 0}};
}

ColorMatrix ColorMatrix::shadow(double k) {
    return {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, k}, {0, 0, 0}};
}

ColorMatrix ColorMatrix::veil(double k) {
    return {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, k}, {1, 1, 1}};
}

Image::Image() : node_(emptyNode()) {}

Image::Image(std::shared_ptr<const Node> node) : node_(std::move(node)) {}

Image Image::pixels(const PixelBuffer& buffer) {
    return imaging::pixelsImage(buffer, nullptr);
}

Image Image::color(const Color& color) {
    return make(Node::Solid{color}, Rect::infinite(), mix(Kind::solid, color), color.a >= 1);
}

Image Image::linearGradient(Vec2 p0, const Color& c0, Vec2 p1, const Color& c1) {
    const auto hash = mix(mix(mix(mix(mix(mix(Kind::linear, p0.x), p0.y), c0), p1.x), p1.y), c1);
    return make(Node::LinearGradient{p0, c0, p1, c1}, Rect::infinite(), hash, c0.a >= 1 && c1.a >= 1);
}

Image Image::radialGradient(Vec2 center, double radius0, const Color& c0, double radius1, const Color& c1) {
    const auto hash =
        mix(mix(mix(mix(mix(mix(Kind::radial, center.x), center.y), radius0), c0), radius1), c1);
    return make(Node::RadialGradient{center, radius0, c0, radius1, c1}, Rect::infinite(), hash,
                c0.a >= 1 && c1.a >= 1);
}

Image Image::roundedRectangle(const Rect& rect, double radius, const Color& color) {
    if (rect.isEmpty()) {
        return {};
    }
    const Rect box = rect.standardized();
    constexpr double leastRadius = 0.001; // below, a corner is a corner
    const double held = radius > leastRadius ? std::min(radius, std::min(box.width, box.height) / 2) : 0;
    return make(Node::RoundedRectangle{box, held, color}, box, mix(mix(mix(Kind::rounded, box), held), color),
                held == 0 && color.a >= 1);
}

Image Image::mean(const std::vector<WeightedImage>& terms) {
    double sum = 0;
    for (const WeightedImage& term : terms) {
        if (!(term.weight > 0) || !std::isfinite(term.weight)) {
            throw std::invalid_argument("A picture's weight in a mean must be positive.");
        }
        sum += term.weight;
    }
    std::vector<WeightedImage> distinct = distinctTerms(terms);
    if (distinct.size() <= 1) {
        return distinct.empty() ? Image() : distinct.front().image;
    }
    Rect extent = Rect::null();
    std::uint64_t hash = Kind::mean;
    for (WeightedImage& term : distinct) {
        term.weight /= sum;
        extent = extent.united(term.image.extent());
        hash = mix(mix(hash, term.image.node_->hash), term.weight);
    }
    const bool isOpaque = std::all_of(distinct.begin(), distinct.end(), [&](const WeightedImage& term) {
        return term.image.isOpaque() && term.image.extent() == extent;
    });
    return make(Node::Mean{std::move(distinct)}, extent, hash, isOpaque);
}

const Rect& Image::extent() const {
    return node_->extent;
}

bool Image::isEmpty() const {
    return node_->extent.isEmpty();
}

bool Image::isOpaque() const {
    return node_->isOpaque;
}

Image Image::clampedToExtent() const {
    if (isEmpty() || extent().isInfinite()) {
        return *this;
    }
    return make(Node::Clamp{*this}, Rect::infinite(), mix(Kind::clamp, node_->hash), isOpaque());
}

Image Image::transformed(const AffineTransform& t) const {
    if (!t.isAxisAligned() || !std::isfinite(t.tx) || !std::isfinite(t.ty) ||
        !std::isfinite(t.determinant()) || t.determinant() == 0) {
        throw std::invalid_argument("An image can only be scaled, mirrored and moved.");
    }
    if (t == AffineTransform{} || isEmpty()) {
        return *this;
    }
    const auto hash = mix(mix(mix(mix(mix(Kind::transform, node_->hash), t.a), t.d), t.tx), t.ty);
    return make(Node::Transform{*this, t}, t.apply(extent()), hash, isOpaque());
}

Image Image::translated(double x, double y) const {
    return transformed(AffineTransform::translation(x, y));
}

Image Image::cropped(const Rect& rect) const {
    if (rect.contains(extent())) {
        return *this;
    }
    const Rect kept = extent().intersection(rect);
    if (kept.isEmpty()) {
        return {};
    }
    return make(Node::Crop{*this, rect.standardized()}, kept, mix(mix(Kind::crop, node_->hash), rect),
                isOpaque());
}

Image Image::over(const Image& background) const {
    if (isEmpty()) {
        return background;
    }
    if (background.isEmpty() || (isOpaque() && extent().contains(background.extent()))) {
        return *this;
    }
    return make(Node::Over{*this, background}, extent().united(background.extent()),
                mix(mix(Kind::over, node_->hash), background.node_->hash));
}

Image Image::colorMatrix(const ColorMatrix& m) const {
    if (m == ColorMatrix{} || isEmpty()) {
        return *this;
    }
    std::uint64_t hash = mix(Kind::matrix, node_->hash);
    for (const auto* row : {&m.r, &m.g, &m.b, &m.a}) {
        for (const double value : *row) {
            hash = mix(hash, value);
        }
    }
    for (const double value : m.bias) {
        hash = mix(hash, value);
    }
    return make(Node::Matrix{*this, m}, extent(), hash);
}

Image Image::blurred(double radius) const {
    constexpr double leastRadius = 0.01; // below, a neighbour's weight is none
    if (!(radius > leastRadius) || isEmpty()) {
        return *this;
    }
    const Rect grown = extent().isInfinite() ? extent() : extent().inset(-3 * radius, -3 * radius);
    return make(Node::Blur{*this, radius}, grown, mix(mix(Kind::blur, node_->hash), radius));
}

Image Image::blendedWithMask(const Image& background, const Image& maskImage) const {
    const Rect extent = node_->extent.intersection(maskImage.extent()).united(background.extent());
    if (extent.isEmpty()) {
        return {};
    }
    return make(Node::Mask{*this, background, maskImage}, extent,
                mix(mix(mix(Kind::mask, node_->hash), background.node_->hash), maskImage.node_->hash));
}

} // namespace tavrin
