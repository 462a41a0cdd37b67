#pragma once

#include <optional>
#include <vector>

#include "TavrinKit/Imaging/ImageProgram.h"
#include "TavrinKit/Imaging/Lattice.h"

namespace tavrin::imaging {

/// The weight of a sample at distance `x` from the point asked: Catmull and Rom's cubic, support 2.
/// E. Catmull, R. Rom, "A class of local interpolating splines", 1974.
[[nodiscard]] double cubicWeight(double x);

/// How much of a pixel of width `footprint` around `p` lies between `low` and `high`: 0...1.
[[nodiscard]] double coverage(double p, double footprint, double low, double high);

/// How much of a rounded rectangle a pixel around (x, y) shows: 0...1.
[[nodiscard]] double maskCoverage(const RoundedMask& mask, double x, double y, double footprint);

/// How index space of a plane's samples relates to the leaf's coordinates on one axis: index = scale·x +
/// offset.
struct PlaneAxis {
    double scale = 1;
    double offset = 0;
    int count = 0; ///< samples
};

/// What one axis of a layer is made of at each column, or row, of a lattice.
struct AxisTable {
    int first = 0; ///< the output indices that the layer touches: first ..< last
    int last = 0;
    int fullFirst = 0; ///< the part of them that it covers wholly
    int fullLast = 0;
    std::vector<float> cover; ///< one per touched index
    std::vector<float> leaf;  ///< the leaf's coordinate at each touched index; for gradients
    int taps = 0;
    std::vector<int> start;     ///< the first sample of each touched index; empty when there is no plane
    std::vector<float> weights; ///< `taps` for each touched index; sum 1

    [[nodiscard]] int startAt(int index) const { return start[std::size_t(index - first)]; }
    [[nodiscard]] const float* weightsAt(int index) const {
        return weights.data() + std::size_t(index - first) * std::size_t(taps);
    }
    [[nodiscard]] float coverAt(int index) const { return cover[std::size_t(index - first)]; }
};

enum class Axis { x, y };

/// @param plane  absent for a leaf that is not made of samples
[[nodiscard]] AxisTable makeAxisTable(const Layer& layer, Axis axis, const Lattice& lattice,
                                      const std::optional<PlaneAxis>& plane);

} // namespace tavrin::imaging
