#include "TavrinKit/Imaging/ResampleTable.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace tavrin::imaging {
namespace {

/// A layer along one axis of a lattice.
struct Line {
    double origin, step; ///< coordinate of output index i: origin + step · i
    int count;
    double footprint;
    double scale, offset; ///< leaf coordinate: (p - offset) / scale
    double low, high;     ///< clip
    double innerLow, innerHigh;
    double pictureLow, pictureHigh;
    std::optional<std::pair<double, double>> clamp;

    [[nodiscard]] double at(int i) const { return origin + step * i; }
    /// The output indices, first ..< last, beyond which the clip shows nothing.
    [[nodiscard]] std::pair<int, int> reach() const {
        const auto index = [&](double p) {
            return std::clamp((p - origin) / step, -1.0, double(count));
        };
        const auto [from, to] = std::minmax({index(low), index(high)});
        return {std::max(int(std::floor(from)) - 1, 0), std::min(int(std::ceil(to)) + 2, count)};
    }
    [[nodiscard]] double held(double p) const {
        return clamp ? std::clamp(p, clamp->first, clamp->second) : p;
    }
    [[nodiscard]] double cover(int i) const {
        const double from = std::max(at(i) - footprint / 2, pictureLow);
        const double to = std::min(at(i) + footprint / 2, pictureHigh);
        const double middle = (from + to) / 2;
        return coverage(middle, to - from, low, high) *
               (clamp ? coverage(held(middle), to - from, innerLow, innerHigh) : 1.0);
    }
};

Line lineOf(const Layer& layer, Axis axis, const Lattice& lattice) {
    const bool isX = axis == Axis::x;
    const auto low = [&](const Rect& r) {
        return isX ? r.minX() : r.minY();
    };
    const auto high = [&](const Rect& r) {
        return isX ? r.maxX() : r.maxY();
    };
    Line line{};
    line.origin = isX ? lattice.x0 : lattice.y0;
    line.step = isX ? lattice.step : -lattice.step;
    line.count = isX ? lattice.columns : lattice.rows;
    line.footprint = lattice.step;
    line.scale = isX ? layer.placement.scaleX : layer.placement.scaleY;
    line.offset = isX ? layer.placement.offsetX : layer.placement.offsetY;
    line.low = low(layer.clip);
    line.high = high(layer.clip);
    line.innerLow = low(layer.innerClip);
    line.innerHigh = high(layer.innerClip);
    line.pictureLow = low(lattice.picture);
    line.pictureHigh = high(lattice.picture);
    if (layer.clamp) {
        line.clamp = {low(*layer.clamp), high(*layer.clamp)};
    }
    return line;
}

/// The weights of all samples within the kernel's reach, those beyond the ends counted at the ends.
class Taps {
public:
    Taps(const Line& line, const PlaneAxis& plane) : line_(line), plane_(plane) {
        const double stride = std::abs(plane.scale / line.scale * line.step);
        width_ = std::max(1.0, stride);
        exact_ = isExact(stride);
        reach_ = exact_ ? 1 : int(std::ceil(4 * width_ - 1e-9));
        count_ = std::min(reach_, plane.count);
    }

    [[nodiscard]] int count() const { return count_; }

    void append(int i, AxisTable& table) const {
        const double u = index(i);
        const int reachStart = exact_ ? int(std::lround(u)) : int(std::floor(u - 2 * width_)) + 1;
        const int start = std::clamp(reachStart, 0, plane_.count - count_);
        table.start.push_back(start);
        const std::size_t base = table.weights.size();
        table.weights.resize(base + std::size_t(count_), 0.0F);
        float* weights = table.weights.data() + base;
        double sum = 0;
        for (int k = 0; k < reach_; ++k) {
            const double w = weight(u, reachStart + k);
            sum += w;
            weights[std::clamp(reachStart + k, start, start + count_ - 1) - start] += float(w);
        }
        const auto scale = float(1 / sum);
        for (int k = 0; k < count_; ++k) {
            weights[k] *= scale;
        }
    }

private:
    [[nodiscard]] double index(int i) const {
        return plane_.scale * ((line_.held(line_.at(i)) - line_.offset) / line_.scale) + plane_.offset;
    }
    [[nodiscard]] double weight(double u, int sample) const {
        return exact_ ? 1.0 : cubicWeight((u - sample) / width_);
    }
    /// One sample for each output index, right on it.
    [[nodiscard]] bool isExact(double stride) const {
        const auto onSample = [](double u) {
            return std::abs(u - std::round(u)) < 1e-7;
        };
        return std::abs(stride - 1) < 1e-9 && onSample(index(0)) && onSample(index(line_.count - 1));
    }

    const Line& line_;
    const PlaneAxis& plane_;
    double width_ = 1;
    bool exact_ = false;
    int reach_ = 0;
    int count_ = 0;
};

} // namespace

double cubicWeight(double x) {
    const double t = std::abs(x);
    if (t >= 2) {
        return 0;
    }
    return t < 1 ? (1.5 * t - 2.5) * t * t + 1 : ((-0.5 * t + 2.5) * t - 4) * t + 2;
}

double coverage(double p, double footprint, double low, double high) {
    const double overlap = std::min(p + footprint / 2, high) - std::max(p - footprint / 2, low);
    return std::clamp(overlap / footprint, 0.0, 1.0);
}

double maskCoverage(const RoundedMask& mask, double x, double y, double footprint) {
    const Rect& r = mask.rect;
    const double dx = std::max({r.minX() + mask.radiusX - x, x - (r.maxX() - mask.radiusX), 0.0});
    const double dy = std::max({r.minY() + mask.radiusY - y, y - (r.maxY() - mask.radiusY), 0.0});
    if (dx == 0 || dy == 0) {
        return coverage(x, footprint, r.minX(), r.maxX()) * coverage(y, footprint, r.minY(), r.maxY());
    }
    // The distance to the corner's ellipse, to first order; exact for a circle.
    const double ex = dx / mask.radiusX;
    const double ey = dy / mask.radiusY;
    const double k = std::hypot(ex, ey);
    const double gradient = std::hypot(ex / mask.radiusX, ey / mask.radiusY) / k;
    return std::clamp(0.5 - (k - 1) / gradient / footprint, 0.0, 1.0);
}

AxisTable makeAxisTable(const Layer& layer, Axis axis, const Lattice& lattice,
                        const std::optional<PlaneAxis>& plane) {
    const Line line = lineOf(layer, axis, lattice);
    AxisTable table;
    std::tie(table.first, table.last) = line.reach();
    while (table.first < table.last && line.cover(table.first) <= 0) {
        ++table.first;
    }
    while (table.last > table.first && line.cover(table.last - 1) <= 0) {
        --table.last;
    }
    table.fullFirst = table.last;
    table.fullLast = table.last;
    std::optional<Taps> taps;
    if (plane && table.first < table.last) {
        taps.emplace(line, *plane);
        table.taps = taps->count();
        table.start.reserve(std::size_t(table.last - table.first));
        table.weights.reserve(std::size_t(table.last - table.first) * std::size_t(table.taps));
    }
    table.cover.reserve(std::size_t(table.last - table.first));
    table.leaf.reserve(std::size_t(table.last - table.first));
    for (int i = table.first; i < table.last; ++i) {
        const double cover = line.cover(i);
        table.cover.push_back(float(cover));
        table.leaf.push_back(float((line.held(line.at(i)) - line.offset) / line.scale));
        if (taps) {
            taps->append(i, table);
        }
        if (cover >= 1 && table.fullFirst == table.last) {
            table.fullFirst = i;
        }
        if (cover < 1 && table.fullFirst < i && table.fullLast == table.last) {
            table.fullLast = i;
        }
    }
    return table;
}

} // namespace tavrin::imaging
