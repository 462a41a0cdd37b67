#include "TavrinKit/Imaging/ImageProgram.h"

#include <algorithm>
#include <cmath>

namespace tavrin::imaging {
namespace {

using Node = Image::Node;

/// Two rectangles are taken as equal when they differ by less: far below what a pixel shows.
constexpr double tolerance = 1e-6;

/// A subtree of unbounded or absurd extent is realised only where it is asked for.
constexpr double largestRealisedArea = 64.0 * 1024 * 1024;

bool covers(const Rect& outer, const Rect& inner) {
    return outer.isInfinite() || outer.inset(-tolerance, -tolerance).contains(inner);
}

/// What stands above a node, seen from the root.
struct Context {
    Placement placement;
    Rect clip;
    std::optional<Rect> clamp;
    Rect innerClip = Rect::infinite();
};

Context cropped(Context context, const Rect& nodeRect) {
    const Rect rect = context.placement.apply(nodeRect);
    if (!context.clamp) {
        context.clip = context.clip.intersection(rect);
    } else if (!covers(rect, *context.clamp)) {
        context.innerClip = context.innerClip.intersection(rect);
    }
    return context;
}

Context clamped(Context context, const Rect& nodeExtent) {
    const Rect extent = context.placement.apply(nodeExtent);
    if (covers(extent, context.clip)) {
        return context; // nothing outside the extent is ever looked at
    }
    // The edge pixels' middles are what is carried on.
    const double dx = std::min(0.5 * std::abs(context.placement.scaleX), extent.width / 2);
    const double dy = std::min(0.5 * std::abs(context.placement.scaleY), extent.height / 2);
    const Rect held = extent.inset(dx, dy);
    if (context.clamp) {
        const Rect both = context.clamp->intersection(held);
        context.clamp = both.isNull() ? held : both;
    } else {
        context.clamp = held;
    }
    return context;
}

Context transformed(Context context, const AffineTransform& t) {
    Placement& p = context.placement;
    p = {p.scaleX * t.a, p.scaleY * t.d, p.scaleX * t.tx + p.offsetX, p.scaleY * t.ty + p.offsetY};
    return context;
}

bool nearlyEqual(const Rect& a, const Rect& b) {
    return covers(a, b) && covers(b, a);
}

bool isUnpainted(const std::array<double, 4>& row) {
    return row == std::array<double, 4>{};
}

bool isOpacity(const ColorMatrix& m) {
    return m == ColorMatrix::opacity(m.a[3]);
}

bool isTint(const ColorMatrix& m) {
    return isUnpainted(m.r) && isUnpainted(m.g) && isUnpainted(m.b) && m.a[0] == 0 && m.a[1] == 0 &&
           m.a[2] == 0;
}

std::uint64_t realisedKey(const Image& image, const Rect& region);

/// Walks a recipe from its root and writes down the layers.
class Flattener {
public:
    explicit Flattener(Program& program) : program_(&program) {}

    void visit(const Image& image, const Context& context) {
        if (image.isEmpty() || context.clip.isEmpty()) {
            return;
        }
        std::visit([&](const auto& operation) { add(image, operation, context); }, image.node()->operation);
    }

private:
    void add(const Image&, const Node::Empty&, const Context&) {}

    void add(const Image& image, const Node::Pixels& pixels, const Context& context) {
        Layer layer = leafLayer(pixels, cropped(context, image.extent()));
        layer.isMovie = pixels.versions != nullptr;
        layer.isOpaque = pixels.buffer.format() == PixelFormat::i420;
        program_->push_back(std::move(layer));
    }

    void add(const Image&, const Node::Solid& solid, const Context& context) {
        if (solid.color.a <= 0) {
            return;
        }
        Layer layer = leafLayer(solid, context);
        layer.isOpaque = solid.color.a >= 1;
        program_->push_back(std::move(layer));
    }

    void add(const Image&, const Node::LinearGradient& gradient, const Context& context) {
        Layer layer = leafLayer(gradient, context);
        layer.isOpaque = gradient.c0.a >= 1 && gradient.c1.a >= 1;
        program_->push_back(std::move(layer));
    }

    void add(const Image&, const Node::RadialGradient& gradient, const Context& context) {
        Context inner = context;
        if (gradient.c1.a <= 0) { // nothing to see beyond the circle
            const double r = std::max(gradient.radius0, gradient.radius1);
            inner = cropped(context, {gradient.center.x - r, gradient.center.y - r, 2 * r, 2 * r});
        }
        Layer layer = leafLayer(gradient, inner);
        layer.isOpaque = gradient.c0.a >= 1 && gradient.c1.a >= 1;
        program_->push_back(std::move(layer));
    }

    void add(const Image& image, const Node::RoundedRectangle& shape, const Context& context) {
        Layer layer = leafLayer(Node::Solid{shape.color}, cropped(context, image.extent()));
        layer.isOpaque = shape.color.a >= 1;
        if (shape.radius > 0) {
            layer.masks.push_back(
                {context.placement.apply(shape.rect), shape.radius * std::abs(context.placement.scaleX),
                 shape.radius * std::abs(context.placement.scaleY), context.clamp.has_value()});
        }
        program_->push_back(std::move(layer));
    }

    void add(const Image&, const Node::Transform& node, const Context& context) {
        visit(node.image, transformed(context, node.transform));
    }

    void add(const Image& image, const Node::Crop& node, const Context& context) {
        const Context inner = cropped(context, node.rect);
        if (inner.innerClip == context.innerClip) {
            visit(node.image, inner);
            return;
        }
        const Program below = layersOf(node.image, inner);
        if (areClampedAnew(below, context)) {
            realise(image, context);
        } else {
            program_->insert(program_->end(), below.begin(), below.end());
        }
    }

    void add(const Image&, const Node::Clamp& node, const Context& context) {
        visit(node.image, clamped(context, node.image.extent()));
    }

    void add(const Image&, const Node::Over& node, const Context& context) {
        visit(node.bottom, context);
        visit(node.top, context);
    }

    void add(const Image& image, const Node::Blur&, const Context& context) { realise(image, context); }

    void add(const Image& image, const Node::Mean& node, const Context& context) {
        Layer layer = leafLayer(Mean(), context);
        Mean mean;
        for (const WeightedImage& term : node.terms) {
            Program below = layersOf(term.image, context);
            if (below.size() != 1 || !isPlainMovie(below.front(), context) ||
                (!mean.terms.empty() && !nearlyEqual(below.front().clip, layer.clip))) {
                realise(image, context);
                return;
            }
            Layer& only = below.front();
            layer.clip = only.clip;
            mean.terms.push_back(
                {std::move(std::get<Node::Pixels>(only.leaf)), only.placement, only.clamp, term.weight});
        }
        layer.leaf = std::move(mean);
        layer.isMovie = true;
        layer.isOpaque = true;
        program_->push_back(std::move(layer));
    }

    void add(const Image& image, const Node::Matrix& node, const Context& context) {
        const bool simple = isOpacity(node.matrix) || isTint(node.matrix);
        Program below = simple ? layersOf(node.image, context) : Program();
        if (below.size() == 1) {
            Layer& layer = below.front();
            layer.opacity *= node.matrix.a[3];
            if (!isOpacity(node.matrix)) {
                tint(layer, {node.matrix.bias[0], node.matrix.bias[1], node.matrix.bias[2], 1});
            }
            layer.isOpaque = layer.isOpaque && layer.opacity >= 1;
            program_->push_back(std::move(layer));
        } else if (!simple || !below.empty()) {
            realise(image, context);
        }
    }

    void add(const Image& image, const Node::Mask& node, const Context& context) {
        const Program mask = layersOf(node.mask, context);
        if (mask.empty()) {
            visit(node.background, context);
            return;
        }
        Program below = layersOf(node.image, context);
        const bool plainMask = mask.size() == 1 && std::holds_alternative<Node::Solid>(mask.front().leaf);
        const bool onNothing = layersOf(node.background, context).empty();
        if (!onNothing || !plainMask || below.size() != 1 || areClampedAnew(below, context) ||
            areClampedAnew(mask, context)) {
            realise(image, context);
            return;
        }
        const Layer& shape = mask.front();
        Layer& layer = below.front();
        layer.masks.insert(layer.masks.end(), shape.masks.begin(), shape.masks.end());
        layer.clip = layer.clip.intersection(shape.clip);
        layer.innerClip = layer.innerClip.intersection(shape.innerClip);
        layer.opacity *= shape.opacity * std::get<Node::Solid>(shape.leaf).color.a;
        layer.isOpaque = layer.isOpaque && layer.opacity >= 1;
        program_->push_back(std::move(layer));
    }

    static Program layersOf(const Image& image, const Context& context) {
        Program layers;
        Flattener(layers).visit(image, context);
        return layers;
    }

    /// Whether a clamp stands above and another one below. A layer knows one clamped point only, so what
    /// stands between the two and looks at the upper one's can't be folded into it.
    static bool areClampedAnew(const Program& below, const Context& context) {
        return context.clamp && std::any_of(below.begin(), below.end(),
                                            [&](const Layer& layer) { return layer.clamp != context.clamp; });
    }

    /// A picture of a movie with nothing about it that other terms of a mean couldn't share.
    static bool isPlainMovie(const Layer& layer, const Context& context) {
        return std::holds_alternative<Node::Pixels>(layer.leaf) && layer.isOpaque && layer.masks.empty() &&
               layer.innerClip == context.innerClip;
    }

    static void tint(Layer& layer, const Color& color) {
        if (layer.isOpaque) { // the pixels no longer matter
            layer.leaf = Node::Solid{color};
            layer.isMovie = false;
        } else {
            layer.tint = color;
        }
    }

    static Layer leafLayer(Layer::Leaf leaf, const Context& context) {
        Layer layer;
        layer.leaf = std::move(leaf);
        layer.placement = context.placement;
        layer.clip = context.clip;
        layer.clamp = context.clamp;
        layer.innerClip = context.innerClip;
        return layer;
    }

    /// Leaves the node to be drawn on its own lattice first.
    void realise(const Image& image, const Context& context) {
        Rect region = image.extent();
        const bool bounded = !region.isInfinite() && region.width * region.height <= largestRealisedArea;
        if (!bounded) {
            const Placement& p = context.placement;
            const Rect& seen = context.clip;
            const Rect asked = Rect{p.leafX(seen.minX()), p.leafY(seen.minY()), seen.width / p.scaleX,
                                    seen.height / p.scaleY};
            region = region.intersection(asked.standardized().inset(-2, -2));
        }
        if (region.isEmpty() || region.isInfinite()) {
            return;
        }
        const double left = std::floor(region.minX());
        const double bottom = std::floor(region.minY());
        region = {left, bottom, std::ceil(region.maxX()) - left, std::ceil(region.maxY()) - bottom};
        program_->push_back(
            leafLayer(Realised{image, region, realisedKey(image, region)}, cropped(context, region)));
    }

    Program* program_;
};

/// What a whole stack shows, movies with the pixels that they show now.
std::uint64_t programKey(const Image& image, const Rect& region) {
    std::uint64_t key = mix(17, region);
    for (const Layer& layer : flatten(image, region)) {
        key = mix(key, layer.hash);
        if (const auto* mean = std::get_if<Mean>(&layer.leaf)) {
            for (const Mean::Term& term : mean->terms) {
                key = mix(key, term.pixels.buffer.identity());
            }
        } else if (layer.isMovie) {
            key = mix(key, std::get<Node::Pixels>(layer.leaf).buffer.identity());
        }
    }
    return key;
}

/// The key of a realised node goes by the stacks beneath it rather than by its recipe: the shadow of a
/// movie's frame is the same for every picture of the movie.
std::uint64_t realisedKey(const Image& image, const Rect& region) {
    const Node::Operation& operation = image.node()->operation;
    if (const auto* blur = std::get_if<Node::Blur>(&operation)) {
        const double reach = std::ceil(3 * blur->radius);
        return mix(mix(mix(21, region), blur->radius), programKey(blur->image, region.inset(-reach, -reach)));
    }
    if (const auto* mean = std::get_if<Node::Mean>(&operation)) {
        std::uint64_t key = 25;
        for (const WeightedImage& term : mean->terms) {
            key = mix(mix(key, programKey(term.image, region)), term.weight);
        }
        return key;
    }
    if (const auto* mask = std::get_if<Node::Mask>(&operation)) {
        return mix(mix(mix(23, programKey(mask->image, region)), programKey(mask->background, region)),
                   programKey(mask->mask, region));
    }
    return mix(mix(24, image.node()->hash), region);
}

std::uint64_t leafHash(const Layer& layer) {
    struct Visitor {
        std::uint64_t operator()(const Node::Pixels& leaf) const {
            const PixelSize size = leaf.buffer.size();
            return leaf.versions ? mix(mix(mix(11, std::uint64_t(leaf.buffer.format())), double(size.width)),
                                       double(size.height))
                                 : mix(12, leaf.buffer.identity());
        }
        std::uint64_t operator()(const Node::Solid& leaf) const { return mix(13, leaf.color); }
        std::uint64_t operator()(const Node::LinearGradient& leaf) const {
            return mix(mix(mix(mix(mix(mix(14, leaf.p0.x), leaf.p0.y), leaf.c0), leaf.p1.x), leaf.p1.y),
                       leaf.c1);
        }
        std::uint64_t operator()(const Node::RadialGradient& leaf) const {
            return mix(mix(mix(mix(mix(mix(15, leaf.center.x), leaf.center.y), leaf.radius0), leaf.c0),
                           leaf.radius1),
                       leaf.c1);
        }
        std::uint64_t operator()(const Realised& leaf) const { return mix(16, leaf.key); }
        std::uint64_t operator()(const Mean& leaf) const {
            std::uint64_t h = 17;
            for (const Mean::Term& term : leaf.terms) {
                h = mix(mix(h, term.hash), term.weight);
            }
            return h;
        }
    };
    return std::visit(Visitor{}, layer.leaf);
}

std::uint64_t layerHash(const Layer& layer) {
    const Placement& p = layer.placement;
    std::uint64_t h = leafHash(layer);
    if (!std::holds_alternative<Node::Solid>(layer.leaf)) {
        h = mix(mix(mix(mix(h, p.scaleX), p.scaleY), p.offsetX), p.offsetY);
    }
    h = mix(mix(h, layer.clip), layer.opacity);
    if (layer.clamp) {
        h = mix(mix(h, *layer.clamp), layer.innerClip);
    }
    for (const RoundedMask& mask : layer.masks) {
        h = mix(mix(mix(h, mask.rect), mask.radiusX), mask.radiusY);
    }
    return layer.tint ? mix(h, *layer.tint) : h;
}

void tidy(Mean& mean, const Layer& layer) {
    const bool looksBeneathClamp =
        layer.clamp && (!layer.innerClip.isInfinite() ||
                        std::any_of(layer.masks.begin(), layer.masks.end(),
                                    [](const RoundedMask& mask) { return mask.beneathClamp; }));
    for (Mean::Term& term : mean.terms) {
        if (term.clamp && covers(*term.clamp, layer.clip)) {
            term.clamp.reset();
        }
        term.hash = layerHash(layerOfTerm(layer, term));
        if (looksBeneathClamp) {
            term.hash = mix(mix(term.hash, *layer.clamp), layer.innerClip);
        }
    }
}

/// Gets a layer into its simplest form.
void tidy(Layer& layer) {
    if (layer.clamp && covers(*layer.clamp, layer.clip)) {
        layer.clip = layer.clip.intersection(layer.innerClip);
        layer.innerClip = Rect::infinite();
        layer.clamp.reset();
    }
    if (auto* mean = std::get_if<Mean>(&layer.leaf)) {
        tidy(*mean, layer);
    }
    layer.hash = layerHash(layer);
}

} // namespace

Layer layerOfTerm(const Layer& mean, const Mean::Term& term) {
    Layer layer = mean;
    layer.leaf = term.pixels;
    layer.placement = term.placement;
    layer.clamp = term.clamp;
    return layer;
}

Program flatten(const Image& image, const Rect& region) {
    Program program;
    Context root;
    root.clip = region;
    Flattener(program).visit(image, root);
    std::erase_if(program, [](const Layer& layer) { return layer.clip.isEmpty() || !(layer.opacity > 0); });
    for (Layer& layer : program) {
        tidy(layer);
    }
    return program;
}

} // namespace tavrin::imaging
