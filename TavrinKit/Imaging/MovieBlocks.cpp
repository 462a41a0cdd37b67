#include "TavrinKit/Imaging/MovieBlocks.h"

#include <algorithm>
#include <cmath>

namespace tavrin::imaging {
namespace {

using Node = Image::Node;

/// A picture as one layer or term shows it.
struct Shown {
    const Node::Pixels& pixels;
    const Placement& placement;
    const std::optional<Rect>& clamp;
};

/// The versions of all blocks from which the seen part of a program's space is drawn.
std::uint64_t versionsKey(const Shown& shown, Rect seen) {
    if (!shown.pixels.versions) {
        return shown.pixels.buffer.identity();
    }
    if (shown.clamp) {
        const Rect& c = *shown.clamp;
        const auto x = [&](double v) {
            return std::clamp(v, c.minX(), c.maxX());
        };
        const auto y = [&](double v) {
            return std::clamp(v, c.minY(), c.maxY());
        };
        seen = {x(seen.minX()), y(seen.minY()), x(seen.maxX()) - x(seen.minX()),
                y(seen.maxY()) - y(seen.minY())};
    }
    const Placement& p = shown.placement;
    // The reach of the kernel, in the movie's luma pixels; chroma counts double.
    const double reachX = 4 * std::max(1.0, 1 / std::abs(p.scaleX)) + 2;
    const double reachY = 4 * std::max(1.0, 1 / std::abs(p.scaleY)) + 2;
    const double x0 = p.leafX(seen.minX());
    const double x1 = p.leafX(seen.maxX());
    const double y0 = shown.pixels.buffer.size().height - p.leafY(seen.minY());
    const double y1 = shown.pixels.buffer.size().height - p.leafY(seen.maxY());

    const BlockVersions& blocks = *shown.pixels.versions;
    const auto block = [](double v, int count) {
        return std::clamp(int(std::floor(v / BlockVersions::blockSize)), 0, count - 1);
    };
    std::uint64_t key = 0;
    for (int row = block(std::min(y0, y1) - reachY, blocks.rows);
         row <= block(std::max(y0, y1) + reachY, blocks.rows); ++row) {
        for (int column = block(std::min(x0, x1) - reachX, blocks.columns);
             column <= block(std::max(x0, x1) + reachX, blocks.columns); ++column) {
            key = mix(key, blocks.versions[std::size_t(row * blocks.columns + column)]);
        }
    }
    return key;
}

} // namespace

std::uint64_t movieKey(const Layer& layer, const Rect& area) {
    const auto* pixels = std::get_if<Node::Pixels>(&layer.leaf);
    if (pixels != nullptr) {
        const Rect seen = area.intersection(layer.clip);
        return mix(layer.hash, versionsKey({*pixels, layer.placement, layer.clamp}, seen));
    }
    const std::vector<MergedTerm> terms = mergedTerms(layer, area);
    if (terms.size() == 1) {
        return terms.front().key;
    }
    std::uint64_t key = 31;
    for (const MergedTerm& term : terms) {
        key = mix(mix(key, term.key), term.weight);
    }
    return key;
}

std::vector<MergedTerm> mergedTerms(const Layer& layer, const Rect& area) {
    const std::vector<Mean::Term>& terms = std::get<Mean>(layer.leaf).terms;
    const Rect seen = area.intersection(layer.clip);
    std::vector<MergedTerm> merged;
    for (std::size_t i = 0; i < terms.size(); ++i) {
        const Mean::Term& term = terms[i];
        const std::uint64_t key =
            mix(term.hash, versionsKey({term.pixels, term.placement, term.clamp}, seen));
        const auto same = std::find_if(merged.begin(), merged.end(),
                                       [&](const MergedTerm& other) { return other.key == key; });
        if (same == merged.end()) {
            merged.push_back({i, term.weight, key});
        } else {
            same->weight += term.weight;
        }
    }
    if (merged.size() == 1) {
        merged.front().weight = 1;
    }
    return merged;
}

} // namespace tavrin::imaging
