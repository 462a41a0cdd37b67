#include "TavrinKit/Imaging/TilePainter.h"

#include <algorithm>
#include <cmath>

namespace tavrin::imaging {
namespace {

using Node = Image::Node;

bool isCopy(const AxisTable& table, int first, int last) {
    return table.taps == 1 && table.startAt(last - 1) - table.startAt(first) == last - 1 - first;
}

/// True when the mask shows all of the block.
bool showsAll(const RoundedMask& mask, const Rect& block) {
    const Rect& r = mask.rect;
    const bool inX = block.minX() >= r.minX() + mask.radiusX && block.maxX() <= r.maxX() - mask.radiusX;
    const bool inY = block.minY() >= r.minY() + mask.radiusY && block.maxY() <= r.maxY() - mask.radiusY;
    return r.contains(block) && (inX || inY);
}

Rect pixelsOf(const Lattice& lattice, const Block& block) {
    const double half = lattice.step / 2;
    return {lattice.x(block.column0) - half, lattice.y(block.row1 - 1) - half, lattice.step * block.columns(),
            lattice.step * block.rows()};
}

bool coversAll(const Lattice& lattice, const PreparedLayer& prepared, const Block& block, double opacity) {
    const Layer& layer = prepared.layer;
    const bool inside =
        block.column0 >= prepared.tables->x.fullFirst && block.column1 <= prepared.tables->x.fullLast &&
        block.row0 >= prepared.tables->y.fullFirst && block.row1 <= prepared.tables->y.fullLast;
    const Rect pixels = pixelsOf(lattice, block);
    return opacity >= 1 && inside &&
           std::all_of(layer.masks.begin(), layer.masks.end(),
                       [&](const RoundedMask& mask) { return !mask.beneathClamp && showsAll(mask, pixels); });
}

} // namespace

float* TilePainter::Plane::prepare(int columns, int rows) {
    stride = (columns + 15) / 16 * 16 + 16; // an odd number of cache lines: rows don't fall on each other
    const auto needed = std::size_t(stride) * std::size_t(rows);
    if (data.size() < needed) {
        data.resize(needed);
    }
    return data.data();
}

void TilePainter::clear(Basis basis, const Block& block, const FloatBlock& out) const {
    const Channels black = out.alpha != nullptr ? Channels{} : toBasis(basis, 0, 0, 0, 1);
    for (int r = 0; r < block.rows(); ++r) {
        for (int k = 0; k < colorCount(basis); ++k) {
            float* row = out.color[std::size_t(k)] + r * out.stride;
            std::fill(row, row + block.columns(), black[std::size_t(k)]);
        }
        if (out.alpha != nullptr) {
            std::fill_n(out.alpha + r * out.stride, block.columns(), 0.0F);
        }
    }
}

void TilePainter::paint(Basis basis, const Lattice& lattice, const PreparedLayer& prepared,
                        const Block& whole, const Rect& area, const FloatBlock& outWhole) {
    const Block block{
        std::max(whole.column0, prepared.tables->x.first), std::max(whole.row0, prepared.tables->y.first),
        std::min(whole.column1, prepared.tables->x.last), std::min(whole.row1, prepared.tables->y.last)};
    if (block.isEmpty()) {
        return;
    }
    FloatBlock out = outWhole;
    const std::ptrdiff_t shift = (block.row0 - whole.row0) * out.stride + (block.column0 - whole.column0);
    for (float*& color : out.color) {
        color += color != nullptr ? shift : 0;
    }
    out.alpha += out.alpha != nullptr ? shift : 0;

    const Layer& layer = prepared.layer;
    double opacity = layer.opacity;
    const auto* solid = std::get_if<Node::Solid>(&layer.leaf);
    if (solid != nullptr) {
        opacity *= solid->color.a;
    }
    const bool full = coversAll(lattice, prepared, block, opacity);
    const bool sampled = prepared.planes != nullptr || !prepared.terms.empty();
    const bool sampledAlpha = prepared.planes != nullptr && prepared.planes->alpha;
    if (sampled && full && !sampledAlpha && !layer.tint) {
        sample(basis, prepared, block, area, out);
        for (int r = 0; out.alpha != nullptr && r < block.rows(); ++r) {
            std::fill_n(out.alpha + r * out.stride, block.columns(), 1.0F);
        }
        return;
    }

    if (full && layer.isOpaque) {
        clear(basis, block, out); // what was there may be no number at all, and would shine through
    }
    for (Plane& plane : color_) {
        plane.prepare(block.columns(), block.rows());
    }
    alpha_.prepare(block.columns(), block.rows());
    bool hasAlpha = false;
    if (sampled) {
        const FloatBlock own{
            {color_[0].row(0), color_[1].row(0), color_[2].row(0)}, alpha_.row(0), color_[0].stride};
        sample(basis, prepared, block, area, own);
        hasAlpha = sampledAlpha;
    } else if (solid == nullptr) {
        fillGradient(basis, prepared, block);
        hasAlpha = true;
    }
    if (layer.tint || solid != nullptr) {
        fillColor(basis, layer.tint.value_or(solid != nullptr ? solid->color : Color{}), block, hasAlpha);
    }
    fillCover(lattice, prepared, block, opacity);
    blend(basis, block, out, hasAlpha);
}

TilePainter::SampleRange TilePainter::sampleRange(const AxisTable& table, int first, int last) {
    const int a = table.startAt(first);
    const int b = table.startAt(last - 1); // a mirrored axis runs backward
    return {std::min(a, b), std::max(a, b) + table.taps};
}

/// The samples of a part of a plane, or the weighted sums of several planes' samples.
void TilePainter::gather(std::span<const WeightedPlane> planes, SampleRange rows, SampleRange columns,
                         float* out, std::ptrdiff_t stride) {
    const auto first = [&](const SamplePlane& plane) {
        return rows.first * plane.stride + columns.first;
    };
    const SamplePlane& only = *planes.front().plane;
    if (planes.size() == 1 && only.bytes != nullptr) {
        kernels_->widen(only.bytes + first(only), only.stride, rows.count(), columns.count(), out, stride);
        return;
    }
    for (int r = 0; r < rows.count(); ++r) {
        if (planes.size() == 1) {
            std::copy_n(only.floats + first(only) + r * only.stride, columns.count(), out + r * stride);
        } else {
            std::fill_n(out + r * stride, columns.count(), 0.0F);
        }
    }
    for (std::size_t i = 0; planes.size() > 1 && i < planes.size(); ++i) {
        const SamplePlane& plane = *planes[i].plane;
        kernels_->addBytes(out, stride, plane.bytes + first(plane), plane.stride, rows.count(),
                           columns.count(), planes[i].weight);
    }
}

void TilePainter::resample(std::span<const WeightedPlane> planes, const AxisTable& x, const AxisTable& y,
                           const Block& block, float* out, std::ptrdiff_t stride) {
    const SampleRange rows = sampleRange(y, block.row0, block.row1);
    const SampleRange columns = sampleRange(x, block.column0, block.column1);
    if (isCopy(x, block.column0, block.column1) && isCopy(y, block.row0, block.row1)) {
        gather(planes, rows, columns, out, stride);
        return;
    }
    const SamplePlane& only = *planes.front().plane;
    const float* samples = only.floats;
    std::ptrdiff_t sampleStride = only.stride;
    if (samples == nullptr || planes.size() > 1) {
        samples = source_.prepare(columns.count(), rows.count());
        sampleStride = source_.stride;
        gather(planes, rows, columns, source_.row(0), sampleStride);
    } else {
        samples += rows.first * only.stride + columns.first;
    }

    // Down the columns, then, turned over so that it is down the columns again, along the rows: by strips
    // that stay in the processor's first cache from one step to the next.
    constexpr int stripRows = 32;
    const int width = columns.count();
    float* vertical = vertical_.prepare(width, stripRows);
    float* turned = turned_.prepare(stripRows, width);
    float* turnedOut = turnedOut_.prepare(stripRows, block.columns());
    for (int row = block.row0; row < block.row1; row += stripRows) {
        const int count = std::min(stripRows, block.row1 - row);
        kernels_->combineRows(samples, sampleStride, &y.start[std::size_t(row - y.first)], rows.first,
                              y.weightsAt(row), y.taps, count, width, vertical, vertical_.stride);
        kernels_->transpose(vertical, vertical_.stride, count, width, turned, turned_.stride);
        kernels_->combineRows(turned, turned_.stride, &x.start[std::size_t(block.column0 - x.first)],
                              columns.first, x.weightsAt(block.column0), x.taps, block.columns(), count,
                              turnedOut, turnedOut_.stride);
        kernels_->transpose(turnedOut, turnedOut_.stride, block.columns(), count,
                            out + (row - block.row0) * stride, stride);
    }
}

void TilePainter::sample(Basis basis, const PreparedLayer& prepared, const Block& block, const Rect& area,
                         const FloatBlock& out) {
    if (prepared.planes) {
        const WeightedPlanes own{prepared.planes.get(), 1};
        if (!prepared.layer.tint) {
            samplePlanes(basis, {&own, 1}, *prepared.tables, block, out);
        }
        if (prepared.planes->alpha) {
            const WeightedPlane alpha{&*prepared.planes->alpha, 1};
            resample({&alpha, 1}, prepared.tables->x, prepared.tables->y, block, out.alpha, out.stride);
        }
    } else if (!prepared.layer.tint) {
        sampleMean(basis, prepared, mergedTerms(prepared.layer, area), block, out);
    }
}

/// Terms with the same tables are added up first and read once. Where reading includes a step that is not
/// linear, each is read by itself.
void TilePainter::sampleMean(Basis basis, const PreparedLayer& prepared, std::vector<MergedTerm> left,
                             const Block& block, const FloatBlock& out) {
    const auto termOf = [&](const MergedTerm& term) -> const PreparedTerm& {
        return prepared.terms[term.index];
    };
    const bool isLinear = !termOf(left.front()).planes->isYCbCr;
    for (bool isFirst = true; !left.empty(); isFirst = false) {
        const std::shared_ptr<const AxisTables> tables = termOf(left.front()).tables;
        const auto hasSameTables = [&](const MergedTerm& term) {
            return termOf(term).tables == tables;
        };
        const auto end =
            isLinear ? std::stable_partition(left.begin(), left.end(), hasSameTables) : left.begin() + 1;
        const bool areSeveral = end - left.begin() > 1;
        weighted_.clear();
        for (auto term = left.begin(); term != end; ++term) {
            weighted_.push_back({termOf(*term).planes.get(), areSeveral ? float(term->weight) : 1.0F});
        }
        if (isFirst && end == left.end()) {
            samplePlanes(basis, weighted_, *tables, block, out);
            return;
        }
        for (Plane& plane : term_) {
            plane.prepare(block.columns(), block.rows());
        }
        const FloatBlock own{{term_[0].row(0), term_[1].row(0), term_[2].row(0)}, nullptr, term_[0].stride};
        samplePlanes(basis, weighted_, *tables, block, own);
        addBlock(basis, block, own, areSeveral ? 1.0F : float(left.front().weight), isFirst, out);
        left.erase(left.begin(), end);
    }
}

void TilePainter::addBlock(Basis basis, const Block& block, const FloatBlock& from, float weight,
                           bool toNothing, const FloatBlock& to) {
    for (int k = 0; k < colorCount(basis); ++k) {
        float* sum = to.color[std::size_t(k)];
        for (int r = 0; toNothing && r < block.rows(); ++r) {
            std::fill_n(sum + r * to.stride, block.columns(), 0.0F);
        }
        kernels_->addFloats(sum, to.stride, from.color[std::size_t(k)], from.stride, block.rows(),
                            block.columns(), weight);
    }
}

void TilePainter::samplePlanes(Basis basis, std::span<const WeightedPlanes> terms, const AxisTables& tables,
                               const Block& block, const FloatBlock& out) {
    const bool isYCbCr = terms.front().planes->isYCbCr;
    for (int k = 0; k < colorCount(basis); ++k) {
        const bool chroma = isYCbCr && k > 0;
        weightedPlanes_.clear();
        for (const WeightedPlanes& term : terms) {
            weightedPlanes_.push_back({&term.planes->color[std::size_t(k)], term.weight});
        }
        resample(weightedPlanes_, chroma ? tables.chromaX : tables.x, chroma ? tables.chromaY : tables.y,
                 block, out.color[std::size_t(k)], out.stride);
    }
    for (int r = 0; isYCbCr && r < block.rows(); ++r) {
        const std::ptrdiff_t row = r * out.stride;
        toRGB(out.color[0] + row, out.color[1] + row, out.color[2] + row, block.columns());
    }
}

void TilePainter::fillGradient(Basis basis, const PreparedLayer& prepared, const Block& block) {
    const int columns = block.columns();
    ramp_.resize(std::size_t(columns));
    const float* x = prepared.tables->x.leaf.data() + (block.column0 - prepared.tables->x.first);
    const auto* radial = std::get_if<Node::RadialGradient>(&prepared.layer.leaf);
    const auto* linear = std::get_if<Node::LinearGradient>(&prepared.layer.leaf);
    const Color c0 = radial != nullptr ? radial->c0 : linear->c0;
    const Color c1 = radial != nullptr ? radial->c1 : linear->c1;
    const Channels from = toBasis(basis, c0);
    const Channels to = toBasis(basis, c1);
    for (int r = 0; r < block.rows(); ++r) {
        const float y = prepared.tables->y.leaf[std::size_t(block.row0 + r - prepared.tables->y.first)];
        if (radial != nullptr) {
            const double span = std::max(radial->radius1 - radial->radius0, 1e-6);
            kernels_->radialRamp(x, float(radial->center.x), y - float(radial->center.y),
                                 float(radial->radius0), float(1 / span), columns, ramp_.data());
        } else {
            const Vec2 d = linear->p1 - linear->p0;
            const double length = std::max(d.x * d.x + d.y * d.y, 1e-12);
            for (int c = 0; c < columns; ++c) {
                const double t = ((x[c] - linear->p0.x) * d.x + (y - linear->p0.y) * d.y) / length;
                ramp_[std::size_t(c)] = float(std::clamp(t, 0.0, 1.0));
            }
        }
        for (int k = 0; k < colorCount(basis); ++k) {
            kernels_->ramp(ramp_.data(), from[std::size_t(k)], to[std::size_t(k)], columns,
                           color_[std::size_t(k)].row(r));
        }
        kernels_->ramp(ramp_.data(), float(c0.a), float(c1.a), columns, alpha_.row(r));
    }
}

void TilePainter::fillColor(Basis basis, const Color& color, const Block& block, bool timesAlpha) {
    const Channels value = toBasis(basis, {color.r, color.g, color.b, 1});
    for (int k = 0; k < colorCount(basis); ++k) {
        for (int r = 0; r < block.rows(); ++r) {
            float* row = color_[std::size_t(k)].row(r);
            if (timesAlpha) {
                kernels_->ramp(alpha_.row(r), 0, value[std::size_t(k)], block.columns(), row);
            } else {
                std::fill_n(row, block.columns(), value[std::size_t(k)]);
            }
        }
    }
}

void TilePainter::fillCover(const Lattice& lattice, const PreparedLayer& prepared, const Block& block,
                            double opacity) {
    cover_.prepare(block.columns(), block.rows());
    const Layer& layer = prepared.layer;
    const Rect pixels = pixelsOf(lattice, block);
    for (int r = 0; r < block.rows(); ++r) {
        const float down = prepared.tables->y.coverAt(block.row0 + r) * float(opacity);
        const float* across = prepared.tables->x.cover.data() + (block.column0 - prepared.tables->x.first);
        float* row = cover_.row(r);
        for (int c = 0; c < block.columns(); ++c) {
            row[c] = across[c] * down;
        }
    }
    for (const RoundedMask& mask : layer.masks) {
        if (mask.beneathClamp || !showsAll(mask, pixels)) {
            multiplyByMask(lattice, layer, mask, block);
        }
    }
}

void TilePainter::multiplyByMask(const Lattice& lattice, const Layer& layer, const RoundedMask& mask,
                                 const Block& block) {
    const bool held = mask.beneathClamp && layer.clamp.has_value();
    const Rect core = mask.rect.inset(lattice.step / 2, lattice.step / 2);
    for (int r = 0; r < block.rows(); ++r) {
        double y = lattice.y(block.row0 + r);
        if (held) {
            y = std::clamp(y, layer.clamp->minY(), layer.clamp->maxY());
        }
        const bool betweenCorners =
            y >= mask.rect.minY() + mask.radiusY && y <= mask.rect.maxY() - mask.radiusY;
        float* row = cover_.row(r);
        for (int c = 0; c < block.columns(); ++c) {
            double x = lattice.x(block.column0 + c);
            if (held) {
                x = std::clamp(x, layer.clamp->minX(), layer.clamp->maxX());
            }
            if (betweenCorners && x >= core.minX() && x <= core.maxX()) {
                continue;
            }
            row[c] *= float(maskCoverage(mask, x, y, lattice.step));
        }
    }
}

void TilePainter::blend(Basis basis, const Block& block, const FloatBlock& out, bool hasAlpha) {
    const int columns = block.columns();
    if (ones_.size() < std::size_t(columns)) {
        ones_.resize(std::size_t(columns), 1.0F);
    }
    for (int r = 0; r < block.rows(); ++r) {
        const float* cover = cover_.row(r);
        for (int k = 0; k < colorCount(basis); ++k) {
            float* to = out.color[std::size_t(k)] + r * out.stride;
            if (hasAlpha) {
                kernels_->blendAlpha(to, color_[std::size_t(k)].row(r), alpha_.row(r), cover, columns);
            } else {
                kernels_->blendCover(to, color_[std::size_t(k)].row(r), cover, columns);
            }
        }
        if (out.alpha != nullptr) {
            float* to = out.alpha + r * out.stride;
            if (hasAlpha) {
                kernels_->blendAlpha(to, alpha_.row(r), alpha_.row(r), cover, columns);
            } else {
                kernels_->blendCover(to, ones_.data(), cover, columns);
            }
        }
    }
}

} // namespace tavrin::imaging
